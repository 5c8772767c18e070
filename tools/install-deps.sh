#!/bin/sh
# Installs what building and testing the filter needs on Debian (run as root).
# Besides the compiler and libraries: cups, cups-filters and ghostscript give
# the end-to-end tests the spooler's own rasterizer ("cupsfilter"), file
# reads the debug bitmaps' headers, and libbenchmark-dev builds the
# benchmarks. cups-daemon and cups-client give the installation tests their
# private scheduler (cupsd) and its clients (lp, lpadmin, lpinfo, lpstat,
# cupstestppd). clang and libclang-rt-dev build the fuzzers (libFuzzer and
# the sanitizer runtimes for clang); clang-format checks the code's format;
# man-db and groff-base show and check the manual pages; dpkg-dev,
# debhelper, fakeroot and lintian build and check the Debian package.
# barcode, qrencode and zbar-tools make and scan the labels of the barcode
# readability suite. libpappl-dev builds the printer application
# (kivcp-printer-app); its tests print with ipptool (cups-ipp-utils), drive
# its web interface in headless Chromium (chromium) through a small DevTools
# client (python3).
set -eu
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends \
    g++ make cmake pkg-config \
    libcups2-dev libcupsimage2-dev \
    googletest libgtest-dev \
    cups cups-filters ghostscript poppler-utils file \
    cups-daemon cups-client \
    libbenchmark-dev \
    clang libclang-rt-dev clang-format \
    man-db groff-base \
    dpkg-dev debhelper fakeroot lintian \
    barcode qrencode zbar-tools \
    libpappl-dev cups-ipp-utils chromium python3 >/dev/null
