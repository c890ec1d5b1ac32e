#!/usr/bin/env bash
# Line coverage of src by the test executables named (all when none), for
# checking that trimming tests loses nothing: builds an unoptimised --coverage
# tree in build-cov, runs the tests from clean counters and writes the per-file
# figures as CSV (build-cov/coverage.csv, or $CORVA_COVERAGE_CSV), with the
# total on standard output. Compare two CSVs with --compare OLD NEW.
#   scripts/coverage.sh cycle mailer ui
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
root="$(cd "$here/.." && pwd)"
build="$root/build-cov"
csv="${CORVA_COVERAGE_CSV:-$build/coverage.csv}"

if [ "${1:-}" = "--compare" ]; then
    # Files whose covered line count fell, then both totals.
    python3 - "$2" "$3" <<'PY'
import csv, sys
def load(path):
    return {r["filename"]: (int(r["line_covered"]), int(r["line_total"]))
            for r in csv.DictReader(open(path))}
old, new = load(sys.argv[1]), load(sys.argv[2])
for name, (covered, _) in sorted(old.items()):
    now = new.get(name, (0, 0))[0]
    if now < covered:
        print(f"{name}: {covered} -> {now} lines")
for label, table in (("before", old), ("after", new)):
    covered = sum(c for c, _ in table.values())
    total = sum(t for _, t in table.values())
    print(f"{label}: {covered}/{total} lines, {100 * covered / max(total, 1):.2f}%")
PY
    exit 0
fi

"$here/setup.sh"
if [ ! -f "$build/build.ninja" ]; then
    cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 \
        -DCMAKE_CXX_FLAGS=--coverage -DCMAKE_EXE_LINKER_FLAGS=--coverage -DCORVA_BENCH=OFF
fi
names=("$@")
if [ ${#names[@]} -eq 0 ]; then
    mapfile -t names < <(cd "$root/tests" && for d in */; do
        [ -f "$d/CMakeLists.txt" ] && [ "$d" != "packaging/" ] && echo "${d%/}"; done)
fi
ninja -C "$build" -j"${CORVA_JOBS:-2}" "${names[@]/#/test_}"

find "$build" -name '*.gcda' -delete
for name in "${names[@]}"; do
    exe="$build/tests/$name/test_$name"
    (cd "$(dirname "$exe")" && CORVA_SOURCE_DIR="$root" QT_QPA_PLATFORM=offscreen \
        "$exe" --gtest_brief=1) || echo "test_$name failed" >&2
done
gcovr -r "$root" --object-directory "$build" --filter "$root/src/" -j"${CORVA_JOBS:-2}" \
    --csv "$csv" >/dev/null
"$0" --compare "$csv" "$csv" | tail -1 | sed 's/^before/src/'
