#!/bin/sh
# check_binding.sh TOOL BINARY...
# Every BINARY: no shared Boost library among its dependencies. TOOL also:
# no pure virtual vtable slot left for the loader to bind by name.
set -u
status=0
tool=$1
shift
for binary in "$@"; do
  needed=$(readelf -dW "$binary" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
  for lib in $needed; do
    case "$lib" in
      libboost_*) echo "FAIL: $binary needs $lib"; status=1 ;;
    esac
  done
done
slots=$(readelf -rW "$tool" | grep -c ' __cxa_pure_virtual')
if [ "$slots" -ne 0 ]; then
  echo "FAIL: $tool leaves $slots pure virtual slots to the loader"
  status=1
fi
[ $status -eq 0 ] && echo "ok: $*"
exit $status
