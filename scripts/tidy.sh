#!/usr/bin/env bash
# Runs clang-tidy with the repository's .clang-tidy on the C++ files changed
# since the branch left main (or on the files given), against the compile
# commands of build/ (or $CORVA_BUILD_DIR). Fails when clang-tidy reports.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${CORVA_BUILD_DIR:-build}"
tidy="$(command -v clang-tidy || command -v clang-tidy-14 || true)"
if [ -z "$tidy" ]; then
    echo "clang-tidy is not installed (apt-get install clang-tidy)" >&2
    exit 2
fi
if [ ! -f "$build/compile_commands.json" ]; then
    cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
fi

if (($#)); then
    files=("$@")
else
    base="$(git merge-base HEAD main 2>/dev/null || echo HEAD)"
    mapfile -t files < <({ git diff --name-only --diff-filter=d "$base"; git diff --name-only --diff-filter=d; } |
        sort -u)
fi
# A header is checked through the sources that include it; check the source
# beside each changed header.
sources=()
for f in "${files[@]}"; do
    case "$f" in
    *.cpp) sources+=("$f") ;;
    *.h) [ -f "${f%.h}.cpp" ] && sources+=("${f%.h}.cpp") ;;
    esac
done
mapfile -t sources < <(printf '%s\n' "${sources[@]}" | grep -v '^$' | sort -u || true)
if ((${#sources[@]} == 0)); then
    echo "No changed C++ sources."
    exit 0
fi

status=0
for f in "${sources[@]}"; do
    out="$("$tidy" -p "$build" --quiet "$f" 2>/dev/null || true)"
    if [ -n "$out" ]; then
        echo "$out"
        status=1
    fi
done
exit $status
