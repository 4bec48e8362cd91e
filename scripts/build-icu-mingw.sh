#!/usr/bin/env bash
# Builds ICU for the Windows cross build from Debian's own ICU sources (with
# Debian's patches), once: the result is kept in a cache folder outside the
# clone and reused while Debian's ICU version stays the same. Prints the
# folder to pass as TARV_ICU_ROOT. Needs the packages of scripts/setup.sh
# --windows (mingw-w64, dpkg-dev, icu-devtools).
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
default_cache=/var/cache/tarvplaces
[ -w /var/cache ] || default_cache="${XDG_CACHE_HOME:-$HOME/.cache}/tarvplaces"
cache="${TARV_CACHE:-$default_cache}"
mkdir -p "$cache"
cache="$(cd "$cache" && pwd)"

# apt with a state of its own: a deb-src entry for Debian's main archive
# without touching the machine's sources.
apt_state="$cache/apt"
mkdir -p "$apt_state/parts" "$apt_state/lists/partial" "$apt_state/cache"
cat >"$apt_state/parts/debian-src.sources" <<'SOURCES'
Types: deb-src
URIs: http://deb.debian.org/debian
Suites: bookworm bookworm-updates
Components: main
Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg

Types: deb-src
URIs: http://deb.debian.org/debian-security
Suites: bookworm-security
Components: main
Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg
SOURCES
apt_opts=(-o Dir::Etc::SourceList=/dev/null -o "Dir::Etc::SourceParts=$apt_state/parts"
          -o "Dir::State::Lists=$apt_state/lists" -o "Dir::Cache=$apt_state/cache"
          -o APT::Sandbox::User=root)

# The same ICU version as the Linux build's libicu-dev.
version="$(dpkg-query -W -f='${source:Version}' libicu-dev)"
# The data items are part of the build: another list is another ICU.
items="$(sha256sum "$here/cmake/windows/icu/data-items.txt" | cut -c1-12)"
root="$cache/icu-$version-$items-mingw-x86_64"
if [ -f "$root/.complete" ]; then
  echo "$root"
  exit 0
fi

work="$cache/icu-$version-work"
rm -rf "$work" "$root"
mkdir -p "$work"
cd "$work"
apt-get "${apt_opts[@]}" update -qq >&2
apt-get "${apt_opts[@]}" source --download-only -qq "icu=$version" >&2
dpkg-source -x --no-check icu_*.dsc src >/dev/null

# The data: only what transliteration and normalization read. icupkg names
# the items after the output file, so it must keep ICU's own name.
major="${version%%.*}"
full_data="src/source/data/in/icudt${major}l.dat"
mkdir -p data
icupkg -l "$full_data" | grep -vxF -f "$here/cmake/windows/icu/data-items.txt" >data/remove.txt
icupkg -r data/remove.txt "$full_data" "data/icudt${major}l.dat" >/dev/null

cmake -S "$here/cmake/windows/icu" -B build \
  -DCMAKE_TOOLCHAIN_FILE="$here/cmake/windows/mingw-w64-x86_64.cmake" \
  -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$root" \
  -DICU_SOURCE_DIR="$work/src/source" -DICU_DATA_FILE="$work/data/icudt${major}l.dat" \
  -DICU_DATA_SYMBOL="icudt${major}_dat" >/dev/null
cmake --build build -j "$(nproc)" >&2
cmake --install build >/dev/null
touch "$root/.complete"
rm -rf "$work"
echo "$root"
