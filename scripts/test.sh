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

echo "== short fuzz runs (libFuzzer, clang)"
CC=clang CXX=clang++ cmake -S "$root" -B "$root/build-fuzz" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DQV_BUILD_FUZZ=ON -DQV_BUILD_TESTS=OFF -DQV_BUILD_BENCH=OFF >/dev/null
cmake --build "$root/build-fuzz" -j"$(nproc)" --target fuzz_request fuzz_project_load
corpus=$(mktemp -d)
mkdir -p "$corpus/request" "$corpus/project"
cp "$root"/tests/fuzz/corpus/request/* "$corpus/request/"
cp "$root"/tests/fuzz/corpus/project/* "$corpus/project/"
(cd "$corpus" && "$root/build-fuzz/bin/fuzz_request" -runs=30000 -max_len=4096 -close_fd_mask=2 request)
(cd "$corpus" && "$root/build-fuzz/bin/fuzz_project_load" -runs=3000 -max_len=8192 -close_fd_mask=3 project)
rm -rf "$corpus"
