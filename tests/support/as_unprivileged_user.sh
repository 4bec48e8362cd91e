#!/bin/sh
# Runs a test program (with its emulator, if any) as the unprivileged user
# "nobody", so that a read-only file or folder is refused to it as to any
# user: root writes them anyway. It gets a home and temporary folder of its
# own (a Wine prefix too), which are removed after. Exits 77 (skipped) where
# it cannot be done, saying why.
set -u
if [ "$(id -u)" != 0 ]; then
  echo "not run by root: the suite's own run is unprivileged already"
  exit 77
fi
if ! command -v setpriv >/dev/null 2>&1; then
  echo "setpriv (util-linux) is missing"
  exit 77
fi
uid=65534
as_user() { setpriv --reuid=$uid --regid=$uid --clear-groups "$@"; }
for file in "$@"; do
  case "$file" in
    /*) if [ -e "$file" ] && ! as_user test -r "$file"; then
          echo "user $uid cannot read $file (a folder above it is closed to others)"
          exit 77
        fi ;;
  esac
done
home="$(as_user mktemp -d /tmp/tarv-unprivileged.XXXXXX)" || exit 1
run() { as_user env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME="$home" TMPDIR="$home" "$@"; }
run "$@"
status=$?
# A Wine server started for this user goes with its prefix.
if [ -d "$home/tarv-wine-$uid" ]; then
  run env WINEPREFIX="$home/tarv-wine-$uid" WINEDEBUG=-all wineserver -k >/dev/null 2>&1
fi
rm -rf "$home"
exit $status
