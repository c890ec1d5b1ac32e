#!/usr/bin/env bash
# Configures and builds Corva into build/ (or $CORVA_BUILD_DIR).
set -euo pipefail
cd "$(dirname "$0")/.."
build="${CORVA_BUILD_DIR:-build}"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j"$(nproc)"
