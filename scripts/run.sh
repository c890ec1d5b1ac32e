#!/usr/bin/env bash
# Installs what is missing, builds, and starts Corva with the given arguments.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
"$here/setup.sh"
"$here/build.sh"
exec "$here/../${CORVA_BUILD_DIR:-build}/src/app/corva" "$@"
