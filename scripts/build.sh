#!/usr/bin/env bash
# Configures and builds Corva into build/ (or $CORVA_BUILD_DIR). CORVA_WERROR=ON
# makes every compiler warning an error and CORVA_BENCH=OFF leaves the benches
# out; unset, the build keeps what it had.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${CORVA_BUILD_DIR:-build}"
options=()
[ -n "${CORVA_WERROR:-}" ] && options+=("-DCORVA_WERROR=$CORVA_WERROR")
[ -n "${CORVA_BENCH:-}" ] && options+=("-DCORVA_BENCH=$CORVA_BENCH")
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "${options[@]}" >/dev/null
cmake --build "$build" -j"$(nproc)"
