#!/bin/sh
# Compares what a library exports with a committed list: check_exports.sh LIBRARY LIST.
# A wanted change of the interface is taken over with: check_exports.sh LIBRARY LIST --update
set -eu

actual=$(nm -D --defined-only "$1" | cut -d ' ' -f 3- | c++filt | LC_ALL=C sort -u)
if [ "${3:-}" = --update ]; then
  printf '%s\n' "$actual" >"$2"
else
  printf '%s\n' "$actual" | diff -u "$2" -
fi
