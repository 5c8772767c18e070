#!/bin/sh
# Installs the build dependencies, builds the filter, makes a sample label
# raster and runs the filter on it as the spooler would, with the shipped
# PPD of the 4-inch 203 dpi model. The EPL output goes to out/sample.epl,
# its preview to out/sample-1.png.
set -eu
cd "$(dirname "$0")/.."
tools/install-deps.sh
cmake -S . -B build -DKV_BUILD_TESTS=OFF >/dev/null
cmake --build build -j"$(nproc)" --target rastertokivcp kv-sample-raster eplview >/dev/null
mkdir -p out
build/tools/kv-sample-raster out/sample.ras 203 1
PPD=ppd/kivcp-epl2-203dpi-4in.ppd build/filter/rastertokivcp 1 "$(id -un)" sample-label 1 "" out/sample.ras \
    >out/sample.epl 2>out/sample.stderr
echo
echo "EPL output written to $(pwd)/out/sample.epl ($(wc -c <out/sample.epl) bytes)"
echo "Filter messages: $(cat out/sample.stderr)"
echo
echo "Preview (images out/sample-N.png):"
build/tools/eplview/eplview -o out/sample out/sample.epl
