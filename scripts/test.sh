#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test: the unit and server
# tests under CTest, then the same tests again in the sanitizer build, which
# also holds the fuzz targets, and a short run of each target. The whole run
# must stay within CI's time on two cores: the fuzz seconds are per target,
# two targets at a time.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
cd "$here/.."
"$here/setup.sh"
# A warning fails the run here, not only in a developer's build. The benches
# are not run here, so they are not built either (CORVA_BENCH=ON builds them).
CORVA_WERROR=ON CORVA_BENCH="${CORVA_BENCH:-OFF}" "$here/build.sh"
build="${CORVA_BUILD_DIR:-build}"
ctest --test-dir "$build" -j"$(nproc)" --output-on-failure --timeout 300
if [ -x "$here/fuzz.sh" ]; then
    "$here/fuzz.sh" --unit --jobs "$(nproc)" "${CORVA_FUZZ_SECONDS:-10}"
fi
