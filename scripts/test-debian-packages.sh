#!/usr/bin/env bash
# Makes the Debian packages (preset package, with build/atlas as the data
# package) and checks them as a user meets them: lintian finds no error, they
# install with apt-get, the tool and a C host built with pkg-config answer
# without being told where the atlas is, a user's places go to the user's
# data folder, and removing the packages leaves only the user's files.
# Installs and removes packages on this machine: run as root, on a machine
# (or container) where nothing else installed tarvplaces.
#   bash scripts/test-debian-packages.sh
set -euo pipefail
cd "$(dirname "$0")/.."
fail() { echo "test-debian-packages: $*" >&2; exit 1; }

bash scripts/setup.sh --package
[ -f build/atlas/Country.dat ] || fail "no atlas in build/atlas (scripts/build-atlas.sh)"
cmake --preset package >/dev/null
cmake --build --preset package
rm -f build/package/*.deb
(cd build/package && cpack -G DEB >/dev/null)
debs=(build/package/*.deb)
[ ${#debs[@]} -eq 4 ] || fail "expected 4 packages, made: ${debs[*]}"
for deb in "${debs[@]}"; do
  printf '%-60s %6d kB\n' "$(basename "$deb")" $(($(stat -c %s "$deb") / 1024))
done

lintian --fail-on error --suppress-tags-from-file /dev/null "${debs[@]}" || fail "lintian reports errors"
echo "lintian: no errors"

packages=(libtarvplaces3 libtarvplaces-dev tarvplaces tarvplaces-data)
DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${debs[@]/#/./}" >/dev/null
for p in "${packages[@]}"; do
  dpkg -s "$p" | grep -q '^Status: install ok installed' || fail "$p is not installed"
done
echo "installed: $(dpkg-query -W -f='${Package} ${Version}, ' "${packages[@]}")"
owned=$(mktemp)
dpkg -L "${packages[@]}" | sort -u >"$owned"

work=$(mktemp -d)
# A failed check must not leave the packages installed.
trap 'rm -rf "$work" "$owned"; dpkg -s tarvplaces-data >/dev/null 2>&1 &&
      apt-get purge -y -qq "${packages[@]}" >/dev/null 2>&1' EXIT
export HOME="$work/home"
unset TARV_ATLAS XDG_DATA_HOME
mkdir -p "$HOME"
cd "$work"
tarvplaces place München D --date 1980-07-01T12:00 | tee tool.txt
grep -q 'UTC+2' tool.txt || fail "the installed tool did not give München's summer time"
zcat /usr/share/man/man1/tarvplaces.1.gz | grep -q 'TARV_ATLAS' || fail "no manual page for tarvplaces"
cc "$OLDPWD/examples/c/host.c" $(pkg-config --cflags --libs tarvplaces) -o host
./host - München D 1980-07-01T12:00 | tee host.txt
grep -q 'UTC+2:00' host.txt || fail "the C host built with pkg-config did not answer"
tarvplaces add D "Paketdorf" 10.5 50.5 >/dev/null
[ -f "$HOME/.local/share/tarvplaces/USER/D.dao" ] || fail "the user place is not in the user's data folder"
[ ! -e /usr/share/tarvplaces/atlas/USER ] || fail "a user place went into the installed atlas"
tarvplaces place Paketdorf D | grep -q 'user place' || fail "the user place is not found"

DEBIAN_FRONTEND=noninteractive apt-get purge -y -qq "${packages[@]}" >/dev/null
left=()
while read -r path; do
  [ -d "$path" ] && continue  # folders the system shares (/usr/share/doc)
  [ -e "$path" ] || [ -L "$path" ] && left+=("$path")
done <"$owned"
for folder in /usr/share/tarvplaces /usr/include/tarvplaces /usr/lib/*/cmake/TarvPlaces; do
  [ -e "$folder" ] && left+=("$folder")
done
[ ${#left[@]} -eq 0 ] || fail "left after removal: ${left[*]}"
[ -f "$HOME/.local/share/tarvplaces/USER/D.dao" ] || fail "removal took the user's places"
echo "removed: nothing left but the user's places in $HOME/.local/share/tarvplaces"
