#!/usr/bin/env bash
# Proves that the shared library exports exactly MOXUtilsGetVersion,
# MOXUtilsInitialize and MOXUtilsTerminate, each under the version VERSION,
# and nothing else, and that its SONAME is the second argument.
set -euo pipefail
lib="$1"
soname="$2"
actual=$(readelf -d -W "$lib" | sed -n 's/.*Library soname: \[\(.*\)\]/\1/p')
if [ "$actual" != "$soname" ]; then
  echo "the SONAME of $lib is '$actual', not $soname"
  exit 1
fi
# Defined symbols of the dynamic table: Ndx is not UND; the version node shows
# as name@@VERSION (or as the bare node name for the version definition).
defined=$(readelf --dyn-syms -W "$lib" | awk 'NR > 3 && $7 != "UND" && $8 != "" {print $8}' | sort)
expected=$(printf '%s\n' MOXUtilsGetVersion@@VERSION MOXUtilsInitialize@@VERSION \
  MOXUtilsTerminate@@VERSION VERSION | sort)
if [ "$defined" != "$expected" ]; then
  echo "unexpected exports of $lib:"
  diff <(echo "$expected") <(echo "$defined") || true
  exit 1
fi
for sym in MOXUtilsGetVersion MOXUtilsInitialize MOXUtilsTerminate; do
  readelf --dyn-syms -W "$lib" | grep -q " FUNC .* GLOBAL .* ${sym}@@VERSION$" || {
    echo "$sym is not a global function under VERSION"
    exit 1
  }
done
echo "$soname, exports: $(echo $defined)"
