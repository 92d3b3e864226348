#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test with CTest; exits non-zero on any failure.
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-deps.sh
scripts/build.sh
export QT_QPA_PLATFORM=offscreen
ctest --test-dir build --output-on-failure --parallel "$(nproc)" --timeout 300
