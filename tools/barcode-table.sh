#!/bin/sh
# Prints the barcode readability tables that the README quotes: builds the
# suite's table program in BUILD-DIR (default build-tests) and runs it.
# Usage: tools/barcode-table.sh [BUILD-DIR [LABELS-PER-CELL [SEED]]]
set -eu
cd "$(dirname "$0")/.."
build=${1:-build-tests}
[ $# -gt 0 ] && shift
cmake -S . -B "$build" -DKV_BUILD_TESTS=ON >/dev/null
cmake --build "$build" -j"$(nproc)" --target kv-barcode-table >/dev/null
exec "$build/tests/e2e/readability/kv-barcode-table" "$@"
