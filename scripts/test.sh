#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test: once in a normal
# build and once under AddressSanitizer and UBSan.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

bash scripts/install-deps.sh

echo "== build"
bash scripts/build.sh "$root/build" -DQV_BUILD_BENCH=OFF
echo "== tests"
(cd build && ctest --output-on-failure --timeout 600)

echo "== build with AddressSanitizer and UBSan"
bash scripts/build.sh "$root/build-asan" -DQV_SANITIZE=ON -DQV_BUILD_BENCH=OFF
echo "== tests under AddressSanitizer and UBSan"
(cd build-asan && ctest --output-on-failure --timeout 900)
