#!/bin/sh
# Writes a PostScript document of PAGES 4 x 6 inch shipping labels, the label
# the benchmarks print: a Code 128 tracking number (GNU barcode), a QR code
# (qrencode), address text and two rules.
# Usage: bench/shipping-label.sh PAGES OUT.ps
set -eu
pages=$1
out=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
barcode -E -e 128 -n -b "1Z4X9Q2R7T0W5E8Y3U" -g 230x80+0+0 | grep -v '^%%' >"$work/code128.eps"
qrencode -t EPS -s 1 -m 0 -o - "https://example.invalid/track/1Z4X9Q2R7T0W5E8Y3U" | grep -v '^%%' >"$work/qr.eps"
{
    echo "%!PS-Adobe-3.0"
    echo "<</PageSize[288 432]>>setpagedevice"
    n=1
    while [ "$n" -le "$pages" ]; do
        cat <<PAGE
%%Page: $n $n
/Helvetica-Bold findfont 14 scalefont setfont
20 400 moveto (SHIP TO:) show
/Helvetica findfont 12 scalefont setfont
20 384 moveto (ACME WAREHOUSE, DOCK 4) show
20 370 moveto (1200 INDUSTRIAL PARKWAY) show
20 356 moveto (SPRINGFIELD 62704) show
2 setlinewidth 10 340 moveto 278 340 lineto stroke 10 150 moveto 278 150 lineto stroke
save 29 220 translate
PAGE
        cat "$work/code128.eps"
        echo "restore save 190 30 translate 2.5 dup scale"
        cat "$work/qr.eps"
        echo "restore showpage"
        n=$((n + 1))
    done
} >"$out"
