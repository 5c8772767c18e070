#!/bin/sh
# Installs the build and test dependencies, builds everything with warnings
# on and runs the whole test suite.
set -eu
cd "$(dirname "$0")/.."
tools/install-deps.sh
cmake -S . -B build-tests -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKV_BUILD_TESTS=ON
cmake --build build-tests -j"$(nproc)"
ctest --test-dir build-tests --output-on-failure -j"$(nproc)"
