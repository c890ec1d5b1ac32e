#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (ASan and UBSan on) into build-fuzz
# and runs each for the given number of seconds (default 60). Fails if any
# target finds a crash, a leak, undefined behaviour or a time-out.
set -euo pipefail

RUN_SECONDS="${1:-60}"
ROOT="$(cd "$(dirname "$0")/.." && pwd)"
BUILD="$ROOT/build-fuzz"
TARGETS=(message_full message_headers quotedprintable base64 isodecode html)

CC=clang CXX=clang++ cmake -S "$ROOT" -B "$BUILD" -G Ninja \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCORVA_FUZZ=ON -DCORVA_TESTS=OFF -DCORVA_BENCH=OFF >/dev/null
ninja -C "$BUILD" -j2 "${TARGETS[@]/#/fuzz_}"

export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1"
export ASAN_OPTIONS="detect_leaks=1"
failed=()
for target in "${TARGETS[@]}"; do
    corpus="$BUILD/fuzz-corpus/$target"
    artifacts="$BUILD/fuzz-artifacts"
    mkdir -p "$corpus" "$artifacts"
    # The message targets start from the test mails, so they begin inside MIME.
    seeds=()
    case "$target" in
    message_*) seeds=("$ROOT/tests/data/message") ;;
    esac
    echo "== fuzz_$target for ${RUN_SECONDS}s"
    if ! "$BUILD/fuzz/fuzz_$target" -max_total_time="$RUN_SECONDS" -timeout=10 \
        -rss_limit_mb=2048 -max_len=65536 -print_final_stats=1 \
        -artifact_prefix="$artifacts/$target-" "$corpus" "${seeds[@]}" \
        >"$BUILD/fuzz-$target.log" 2>&1; then
        echo "fuzz_$target FAILED; see $BUILD/fuzz-$target.log and $artifacts"
        tail -n 40 "$BUILD/fuzz-$target.log"
        failed+=("$target")
    else
        grep -E "stat::number_of_executed_units|Done" "$BUILD/fuzz-$target.log" | tail -n 2 || true
    fi
done

if ((${#failed[@]})); then
    echo "Fuzzing found problems in: ${failed[*]}"
    exit 1
fi
echo "All fuzz targets ran ${RUN_SECONDS}s without a finding."
