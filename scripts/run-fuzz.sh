#!/bin/sh
# Runs every fuzz target of BUILD_DIR (or only the TARGETs named) for SECONDS each:
# first over its checked-in regression inputs, then over a working copy of its seed
# corpus. Fails if any target crashes, leaks, runs out of memory or hangs; what it
# found is left in BUILD_DIR/fuzz-artifacts/<target>/ to be turned into a fix and a
# regression input.
set -u
if [ $# -lt 2 ]; then
    echo "usage: $0 BUILD_DIR SECONDS [TARGET...]" >&2
    exit 2
fi
build=$1
seconds=$2
shift 2
only="$*"
root=$(cd "$(dirname "$0")/.." && pwd)
failed=""

# Longest input per target: pictures need room for a header and some data, the tag
# walker and the codecs find their paths in little.
max_len() {
    case $1 in
    fuzz_tagfile) echo 4096 ;;
    fuzz_lzw | fuzz_run_length) echo 16384 ;;
    *) echo 65536 ;;
    esac
}

for src in "$root"/tests/fuzz/*.cpp; do
    target=$(basename "$src" .cpp)
    case " ${only:-$target} " in *" $target "*) ;; *) continue ;; esac
    binary="$build/$target"
    if [ ! -x "$binary" ]; then
        echo "run-fuzz: $binary is missing; build with -DNEMU_FUZZ=ON first" >&2
        failed="$failed $target"
        continue
    fi
    seeds="$root/tests/fuzz/corpus/$target"
    regressions="$root/tests/fuzz/regressions/$target"
    work="$build/fuzz-corpus/$target"
    artifacts="$build/fuzz-artifacts/$target/"
    mkdir -p "$work" "$artifacts" "$seeds"
    log="$build/fuzz-$target.log"
    common="-rss_limit_mb=2048 -malloc_limit_mb=1024 -timeout=20 -max_len=$(max_len "$target")"
    common="$common -artifact_prefix=$artifacts -close_fd_mask=1"

    if [ -d "$regressions" ] && [ -n "$(ls -A "$regressions" 2>/dev/null)" ]; then
        # shellcheck disable=SC2086
        if ! "$binary" $common "$regressions"/* >"$log.regressions" 2>&1; then
            echo "run-fuzz: $target fails on a regression input; see $log.regressions" >&2
            failed="$failed $target"
            continue
        fi
    fi

    echo "run-fuzz: $target for ${seconds}s"
    # shellcheck disable=SC2086
    if ! "$binary" $common -max_total_time="$seconds" -print_final_stats=1 "$work" "$seeds" >"$log" 2>&1; then
        echo "run-fuzz: $target found a problem; see $log and $artifacts" >&2
        tail -n 30 "$log" >&2
        failed="$failed $target"
    else
        grep -E "^stat::number_of_executed_units|^stat::peak_rss_mb" "$log" | sed "s/^/  $target /"
    fi
done

if [ -n "$failed" ]; then
    echo "run-fuzz: FAILED:$failed" >&2
    exit 1
fi
echo "run-fuzz: all targets ran ${seconds}s without a finding"
