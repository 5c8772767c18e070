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
ctest --test-dir build-tests --output-on-failure -j"$(nproc)"

cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKV_BUILD_TESTS=ON -DKV_SANITIZE=ON -DKV_WERROR=ON
cmake --build build-asan -j"$(nproc)"
ctest --test-dir build-asan --output-on-failure -j"$(nproc)"

cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
    -DKV_BUILD_TESTS=OFF -DKV_BUILD_FUZZERS=ON -DKV_WERROR=ON
cmake --build build-fuzz -j"$(nproc)"
tools/run-fuzzers.sh 60
