#!/usr/bin/env bash
# Builds the libFuzzer targets with clang into build-fuzz (every library
# instrumented, ASan and UBSan on) and runs each for SECONDS (default 60).
# Fails if any target finds a crash, a leak, undefined behaviour or a hang.
#
#   scripts/fuzz.sh [--unit] [--jobs N] [SECONDS] [TARGET...]
#
# --unit also builds the unit tests in the same tree and runs them first, so
# one sanitizer build serves both. --jobs runs N targets at once (default 1;
# a long hunt is best one at a time). Targets default to all of them.
set -euo pipefail

ROOT="$(cd "$(dirname "$0")/.." && pwd)"
BUILD="${CORVA_FUZZ_BUILD_DIR:-$ROOT/build-fuzz}"
ALL=(message_full message_headers quotedprintable base64 isodecode html html_anchors
    composer_files pop3_dialogue smtp_dialogue ssl2_hello settings rules address_list check
    contacts contacts_csv word_table tokeniser cache_csv qbx tags folders_ini tickets mbox
    maildir_message mail_link languages update_status ics ftp_reply)

unit=0
jobs=1
while (($#)); do
    case "$1" in
    --unit) unit=1 ;;
    --jobs) jobs="$2"; shift ;;
    *) break ;;
    esac
    shift
done
RUN_SECONDS="${1:-60}"
(($#)) && shift
targets=("$@")
((${#targets[@]})) || targets=("${ALL[@]}")

# Line tables are all a finding's stack needs; with -O1 the sanitizer build
# costs about what the normal one does, which the test command's time needs.
CC=clang CXX=clang++ cmake -S "$ROOT" -B "$BUILD" -G Ninja \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -gline-tables-only -DNDEBUG" \
    -DCORVA_FUZZ=ON -DCORVA_TESTS=ON -DCORVA_BENCH=OFF >/dev/null

# A finding stops the run with its stack; leaks count as findings.
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1"
export ASAN_OPTIONS="detect_leaks=1"
export LSAN_OPTIONS="suppressions=$ROOT/cmake/lsan.supp"

if ((unit)); then
    ninja -C "$BUILD" -j"$(nproc)"
    echo "== unit tests under ASan and UBSan"
    ctest --test-dir "$BUILD" -j"$(nproc)" --output-on-failure --timeout 600
else
    ninja -C "$BUILD" -j"$(nproc)" "${targets[@]/#/fuzz_}"
fi

# Starting corpora: the inputs kept with each target, the mails that every
# reader of messages shares, and the test data of the same kind of file.
starting() {
    local data="$ROOT/tests/data"
    [ -d "$ROOT/fuzz/corpus/$1" ] && echo "$ROOT/fuzz/corpus/$1"
    case "$1" in
    message_* | check | tokeniser) echo "$ROOT/fuzz/corpus/mail" "$data/message" "$data/store" ;;
    contacts | contacts_csv) echo "$data/contacts" ;;
    word_table) echo "$data/bayes" ;;
    rules) echo "$data/filters" ;;
    cache_csv) echo "$data/store" ;;
    esac
}

artifacts="$BUILD/fuzz-artifacts"
mkdir -p "$artifacts"
# Each target makes its private folder here; one that crashed leaves it behind.
export TMPDIR="$BUILD/fuzz-tmp"
rm -rf "$TMPDIR"
mkdir -p "$TMPDIR"
run_one() {
    local target="$1" corpus="$BUILD/fuzz-corpus/$1" log="$BUILD/fuzz-$1.log"
    mkdir -p "$corpus"
    # shellcheck disable=SC2046
    if "$BUILD/fuzz/fuzz_$target" -max_total_time="$RUN_SECONDS" -timeout=10 \
        -rss_limit_mb=2048 -max_len=65536 -print_final_stats=1 \
        -artifact_prefix="$artifacts/$target-" "$corpus" $(starting "$target") \
        >"$log" 2>&1; then
        local last execs
        last="$(grep -E "^#[0-9]+.*cov:" "$log" | tail -n 1)"
        execs="$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")"
        printf '%-16s %s  execs %s in %ss\n' "$target" \
            "$(grep -oE "cov: [0-9]+ ft: [0-9]+ corp: [0-9]+" <<<"$last")" "$execs" "$RUN_SECONDS"
    else
        echo "fuzz_$target FAILED; see $log and $artifacts"
        tail -n 40 "$log"
        return 1
    fi
}

echo "== ${#targets[@]} fuzz targets, ${RUN_SECONDS}s each, $jobs at a time"
for target in "${targets[@]}"; do
    while (($(jobs -rp | wc -l) >= jobs)); do wait -n || true; done
    (
        rc=0
        run_one "$target" >"$BUILD/fuzz-$target.summary" 2>&1 || rc=$?
        echo "$rc" >"$BUILD/fuzz-$target.rc"
    ) &
done
wait

failed=()
for target in "${targets[@]}"; do
    cat "$BUILD/fuzz-$target.summary"
    [ "$(cat "$BUILD/fuzz-$target.rc")" = 0 ] || failed+=("$target")
done
if ((${#failed[@]})); then
    echo "Fuzzing found problems in: ${failed[*]}"
    exit 1
fi
echo "All ${#targets[@]} fuzz targets ran ${RUN_SECONDS}s without a finding."
