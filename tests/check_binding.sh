#!/bin/sh
# Names what libraries define and look up all the same, so that a host could take it over:
# check_binding.sh LIBRARY...
set -eu

for library; do
  defined=$(nm -D --defined-only "$library" | cut -d ' ' -f 3- | sed 's/@.*//')
  readelf -rW "$library" | awk -v library="$library" -v defined="$defined" '
    BEGIN { count = split(defined, names); for (i in names) isOwn[names[i]] }
    $5 != "" { sub(/@.*/, "", $5); if ($5 in isOwn) { print library ": " $5; bad = 1 } }
    $3 ~ /^R_/ { ++relocations }
    END { exit bad || count == 0 || relocations == 0 }'
done
