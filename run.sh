#!/usr/bin/env bash
# Installs what is missing, builds, and opens the editor on the demo workspace.
# Extra arguments go to kvedit (for example a workspace file, or --table 3).
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-deps.sh
scripts/build.sh
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ] && [ -z "${QT_QPA_PLATFORM:-}" ]; then
  echo "No display: running the editor under xvfb-run (nothing will be visible)."
  exec xvfb-run -a build/app/kvedit "$@"
fi
exec build/app/kvedit "$@"
