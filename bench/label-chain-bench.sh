#!/bin/bash
# Times the whole print chain of a 4 x 6 inch shipping label, PDF to EPL2,
# at each Resolution choice of the 203 dpi 4-inch PPD, as a queue runs it:
# the spooler's rasterizer (cupsfilter) piped into the built filter. Jobs of
# 1 and of 50 labels, REPEATS runs each, in turn so that every choice sees
# the same machine load; prints the median wall time per job and the median
# CPU time (user + system, both programs) per label. CUPS's sample EPL2
# driver on its own 1-bit raster is timed alongside for reference.
#
# Usage: bench/label-chain-bench.sh [BUILD-DIR [REPEATS]]
#   BUILD-DIR  a build with the filter (default build-tests)
#   REPEATS    runs per job and choice (default 7)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build-tests}
repeats=${2:-7}
filter="$build/filter/rastertokivcp"
ppd="$PWD/ppd/kivcp-epl2-203dpi-4in.ppd"
cupsfilter=$(command -v cupsfilter || echo /usr/sbin/cupsfilter)
serverbin=$(cups-config --serverbin 2>/dev/null || echo /usr/lib/cups)
datadir=$(cups-config --datadir 2>/dev/null || echo /usr/share/cups)
[ -x "$filter" ] || { echo "no filter at $filter: build it first" >&2; exit 2; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The label: a Code 128 tracking number, a QR code, address text and rules,
# as shipping labels have them.
for labels in 1 50; do
    bench/shipping-label.sh "$labels" "$work/label-$labels.ps"
    gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=pdfwrite -o "$work/label-$labels.pdf" "$work/label-$labels.ps"
done

# The sample driver's PPD, compiled from CUPS's sample driver file.
mkdir "$work/sample"
ppdc -d "$work/sample" "$datadir/drv/sample.drv" 2>/dev/null
sample=$(grep -l 'EPL2 Label Printer"' "$work/sample"/*.ppd | xargs grep -l 'rastertolabel"' | head -1)

# run CHOICE LABELS: one job; prints "wall cpu" in seconds.
run() {
    local choice=$1 labels=$2 TIMEFORMAT='%R %U %S'
    local t
    if [ "$choice" = sample ]; then
        t=$( { time "$cupsfilter" -p "$sample" -m application/vnd.cups-raster -o PageSize=w288h432 \
            "$work/label-$labels.pdf" 2>/dev/null |
            PPD="$sample" "$serverbin/filter/rastertolabel" 1 user label 1 "" >/dev/null 2>&1; } 2>&1)
    else
        t=$( { time "$cupsfilter" -p "$ppd" -m application/vnd.cups-raster -o Resolution="$choice" \
            "$work/label-$labels.pdf" 2>/dev/null |
            PPD="$ppd" "$filter" 1 user label 1 "Resolution=$choice" >/dev/null 2>&1; } 2>&1)
    fi
    echo "$t" | awk '{ printf "%.4f %.4f\n", $1, $2 + $3 }'
}

median() { sort -n | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }

choices="203dpi 406dpi 609dpi sample"
for labels in 1 50; do
    for choice in $choices; do : >"$work/times-$choice-$labels"; done
    for _ in $(seq 1 "$repeats"); do
        for choice in $choices; do run "$choice" "$labels" >>"$work/times-$choice-$labels"; done
    done
done

printf '| Resolution | 1-label job: wall ms | 1-label job: CPU ms | 50-label job: wall ms | 50-label job: CPU ms per label |\n'
printf '|---|---|---|---|---|\n'
for choice in $choices; do
    name=$choice
    [ "$choice" = sample ] && name="CUPS sample EPL2 (1-bit, 203 dpi)"
    w1=$(cut -d' ' -f1 "$work/times-$choice-1" | median)
    c1=$(cut -d' ' -f2 "$work/times-$choice-1" | median)
    w50=$(cut -d' ' -f1 "$work/times-$choice-50" | median)
    c50=$(cut -d' ' -f2 "$work/times-$choice-50" | median)
    awk -v n="$name" -v w1="$w1" -v c1="$c1" -v w50="$w50" -v c50="$c50" \
        'BEGIN { printf "| %s | %.0f | %.0f | %.0f | %.1f |\n", n, w1 * 1000, c1 * 1000, w50 * 1000, c50 * 1000 / 50 }'
done
