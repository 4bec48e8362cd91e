#!/usr/bin/env bash
# Installs what the build needs on Debian 12. Idempotent and quiet: packages
# already present are not fetched again. Run as root (or with sudo available).
# With --fuzz, also clang and its libFuzzer runtime (scripts/run-fuzz.sh);
# with --windows, what the Windows cross build needs; with --coverage, gcovr
# (scripts/coverage.sh); with --package, the packaging tools.
set -euo pipefail

PACKAGES=(
  cmake g++ make pkg-config
  libgtest-dev libgmock-dev libbenchmark-dev libsqlite3-dev
  libcli11-dev nlohmann-json3-dev libboost-dev
  libmspack-dev mscompress libicu-dev
  tzdata iso-codes locales
  qt6-base-dev fonts-dejavu-core
  python3 python3-dev python3-pytest python3-venv python3-setuptools python3-wheel
  strace
)
if [ "${1:-}" = "--fuzz" ]; then PACKAGES+=(clang libclang-rt-14-dev); fi
if [ "${1:-}" = "--coverage" ]; then PACKAGES+=(gcovr); fi
# With --package, what makes and checks the Debian packages and the wheel.
if [ "${1:-}" = "--package" ]; then PACKAGES+=(help2man lintian dpkg-dev python3-pip zip unzip); fi
# With --windows, the cross compiler, Wine, and what builds ICU from Debian's
# sources (scripts/build-icu-mingw.sh).
if [ "${1:-}" = "--windows" ]; then
  PACKAGES+=(g++-mingw-w64-x86-64-posix wine64 wine dpkg-dev icu-devtools googletest)
fi
# npm fetches the open data; a machine that has it already keeps its own.
command -v npm >/dev/null 2>&1 || PACKAGES+=(nodejs npm)

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

# The tests check number formats under a German locale.
if ! locale -a 2>/dev/null | grep -qi '^de_DE\.utf-\?8$'; then
  SUDO=""
  if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
  $SUDO sed -i 's/^# *\(de_DE.UTF-8 UTF-8\)/\1/' /etc/locale.gen
  grep -q '^de_DE.UTF-8 UTF-8' /etc/locale.gen || echo 'de_DE.UTF-8 UTF-8' | $SUDO tee -a /etc/locale.gen >/dev/null
  $SUDO locale-gen >/dev/null
fi
