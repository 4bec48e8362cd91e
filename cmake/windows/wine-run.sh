#!/bin/sh
# Runs a Windows program under Wine: no display, no debug chatter, a prefix
# of our own, made on first use (under a lock: ctest starts several at once).
unset DISPLAY WAYLAND_DISPLAY
export WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" WINEARCH=win64
# Wine decodes arguments and file names with the Unix locale.
export LC_ALL=C.UTF-8
export WINEPREFIX="${WINEPREFIX:-${TMPDIR:-/tmp}/tarv-wine-$(id -u)}"
if [ ! -f "$WINEPREFIX/system.reg" ]; then
  mkdir -p "$(dirname "$WINEPREFIX")"
  flock "$WINEPREFIX.lock" sh -c '[ -f "$WINEPREFIX/system.reg" ] || wineboot -i >/dev/null 2>&1'
fi
exec /usr/lib/wine/wine64 "$@"
