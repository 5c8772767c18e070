#!/bin/sh
# Builds the Debian package printer-driver-kivcp from this tree and checks
# it with lintian (errors fail the script). Installs the build dependencies
# that debian/control names (as root). The tree's tracked files are copied
# to a scratch folder first, so the build leaves the tree as it was; the
# packages end up in OUTDIR (default out/package).
# Usage: tools/build-package.sh [OUTDIR]
set -eu
cd "$(dirname "$0")/.."
out=$(realpath -m "${1:-out/package}")
if [ "$(id -u)" = 0 ]; then
    DEBIAN_FRONTEND=noninteractive apt-get build-dep -y -qq ./ >/dev/null
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/src"
git ls-files -z | xargs -0 cp --parents -t "$work/src"
(cd "$work/src" && dpkg-buildpackage -us -uc -b >"$work/build.log" 2>&1) || {
    tail -40 "$work/build.log"
    exit 1
}
mkdir -p "$out"
cp "$work"/*.deb "$out"/
if command -v lintian >/dev/null; then
    lintian --allow-root --fail-on error "$out"/printer-driver-kivcp_*.deb
fi
ls "$out"/printer-driver-kivcp_*.deb
