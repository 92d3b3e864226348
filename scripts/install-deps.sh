#!/usr/bin/env bash
# Installs the Debian 12 packages the build, the tests and the screenshots need, when missing,
# and any further packages named as arguments (the sanitizer and fuzzing scripts' compilers).
set -euo pipefail

packages=(
  build-essential cmake ninja-build ccache pkg-config git
  qt6-base-dev qt6-base-dev-tools libqt6sql6-sqlite libgl-dev
  libsqlite3-dev sqlite3
  libmcpp-dev
  libgettextpo-dev gettext qt6-l10n-tools
  libxml2-utils binutils-mingw-w64-x86-64
  xvfb xauth fonts-dejavu-core fonts-noto-cjk
  "$@"
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
