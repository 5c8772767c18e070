#!/bin/sh
# Runs each libFuzzer harness of a fuzzing build for SECONDS (default 60)
# on a fresh copy of its seed corpus, one after the other, and fails on the
# first finding (crash, sanitizer report, leak, time-out or memory limit).
# The build comes first:
#   cmake -S . -B build-fuzz -DCMAKE_CXX_COMPILER=clang++ -DKV_BUILD_FUZZERS=ON -DKV_BUILD_TESTS=OFF
#   cmake --build build-fuzz -j2
# Usage: tools/run-fuzzers.sh [SECONDS [HARNESS...]]; KV_FUZZ_BUILD names
# another build folder. Each harness's log, grown corpus and any crashing
# input stay in <build>/fuzz-runs/<harness>/.
set -eu
cd "$(dirname "$0")/.."
seconds=${1:-60}
[ $# -gt 0 ] && shift
harnesses=${*:-fuzz_raster_job fuzz_ppd_reader fuzz_log_config fuzz_jobinfo fuzz_eplview}
build=${KV_FUZZ_BUILD:-build-fuzz}

# fuzz_raster_job runs the whole filter, which rewrites /tmp/kvepl.log on
# every job. Where the machine allows it (root), the harnesses get an empty
# /tmp of their own, as the job channel tests do, so that a test suite
# running at the same time never sees those files; not when the sources or
# the build live under /tmp, which that would hide.
private=""
case "$(pwd)/ $(cd "$build" && pwd)/" in
*/tmp/*) ;;
*) if unshare --mount sh tests/jobchannel/kv-private-tmp.sh true 2>/dev/null; then
       private="unshare --mount sh tests/jobchannel/kv-private-tmp.sh"
   fi ;;
esac

for name in $harnesses; do
    run="$build/fuzz-runs/$name"
    rm -rf "$run"
    mkdir -p "$run/corpus" "$run/findings"
    cp tests/fuzz/corpus/"$name"/* "$run/corpus/"
    # No input may take 30 s or 2 GB of resident memory. A single allocation
    # may reach 4 GB: libcups takes a line buffer of the header's
    # cupsBytesPerLine (up to 4 GB - 1) for a compressed stream before the
    # filter sees the header, untouched memory that the page limits then
    # refuse to fill.
    if ! $private "$build/tests/fuzz/$name" -max_total_time="$seconds" -timeout=30 \
            -rss_limit_mb=2048 -malloc_limit_mb=4096 \
            -print_final_stats=1 -artifact_prefix="$run/findings/" "$run/corpus" >"$run/log" 2>&1; then
        tail -n 60 "$run/log"
        echo "$name: FINDING (input and log in $run)" >&2
        exit 1
    fi
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$run/log")
    echo "$name: $runs runs in $seconds s, no finding"
done
