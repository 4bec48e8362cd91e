#!/usr/bin/env bash
# Installs what the build needs on Debian 12. Idempotent and quiet: packages
# already present are not fetched again. Run as root (or with sudo available).
set -euo pipefail

PACKAGES=(
  cmake g++ make pkg-config
  libgtest-dev libgmock-dev
  libcli11-dev nlohmann-json3-dev
)

missing=()
for pkg in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed" || missing+=("$pkg")
done

if ((${#missing[@]})); then
  SUDO=""
  if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
  echo "setup: installing ${missing[*]}"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
