#!/usr/bin/env bash
# Installs the Debian 12 packages Quillavant needs to build, test and run,
# skipping those already present.
set -euo pipefail

packages=(
    build-essential cmake pkg-config git ca-certificates
    libmlt-dev libmlt++-dev melt libmlt-data
    libavformat-dev libavcodec-dev libavfilter-dev libavutil-dev libswscale-dev libswresample-dev
    ffmpeg libjsoncpp-dev libxml2-dev libsdl2-dev
    libgtest-dev libbenchmark-dev clang libclang-rt-14-dev clang-format
    xvfb x11-apps x11-utils imagemagick fonts-dejavu-core procps
)

missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$package")
    fi
done

if [ ${#missing[@]} -eq 0 ]; then
    echo "install-deps: everything is installed"
    exit 0
fi

echo "install-deps: installing ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then
    sudo="sudo"
fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
echo "install-deps: done"
