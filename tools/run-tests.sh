#!/bin/sh
# Installs the build and test dependencies, checks the code's format, builds
# everything with warnings as errors and runs the whole test suite; then
# runs the suite again built with AddressSanitizer and
# UndefinedBehaviorSanitizer, and each fuzzer for a minute on its seeds. Any
# format slip, warning, failure, sanitizer report or fuzzer finding fails
# the script.
set -eu
cd "$(dirname "$0")/.."
tools/install-deps.sh
tools/check-format.sh
cmake -S . -B build-tests -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKV_BUILD_TESTS=ON -DKV_WERROR=ON
cmake --build build-tests -j"$(nproc)"
# The Debian package, built from the tree; the suite installs, uses and
# removes it (tests/install/test_package.cpp).
tools/build-package.sh out/package
KV_PACKAGE_DEB=$(ls "$PWD"/out/package/printer-driver-kivcp_*_*.deb | grep -v dbgsym | head -1)
export KV_PACKAGE_DEB
ctest --test-dir build-tests --output-on-failure -j"$(nproc)"

cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKV_BUILD_TESTS=ON -DKV_SANITIZE=ON -DKV_WERROR=ON
cmake --build build-asan -j"$(nproc)"
ctest --test-dir build-asan --output-on-failure -j"$(nproc)"

cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
    -DKV_BUILD_TESTS=OFF -DKV_BUILD_FUZZERS=ON -DKV_WERROR=ON
cmake --build build-fuzz -j"$(nproc)"
tools/run-fuzzers.sh 60
