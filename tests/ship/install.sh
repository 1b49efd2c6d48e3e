#!/bin/bash
# Installs the build into a DESTDIR, moves the tree elsewhere, and proves the
# installed commands stand on their own: no RUNPATH or library resolved from
# the build folder, and a version run and a Logger configure of an installed
# example work from the moved copy. Usage: install.sh BUILD_DIR
set -euo pipefail
build=$(cd "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset LD_LIBRARY_PATH

DESTDIR="$work/dest" cmake --install "$build" --prefix /usr >/dev/null
# Unpacked somewhere else than where it was installed: only $ORIGIN paths work.
mv "$work/dest/usr" "$work/tree"
root=$work/tree
fail() { echo "FAIL: $*"; exit 1; }

for f in bin/rq7.config bin/gta-sim share/man/man1/rq7.config.1.gz \
         share/man/man1/gta-sim.1.gz share/man/man5/rq7-config.xml.5.gz \
         share/bash-completion/completions/rq7.config \
         share/doc/rq7-config/copyright \
         share/doc/rq7-config/examples/minimal_logger.xml \
         share/doc/rq7-config/examples/ka7710x_logger.xml; do
  [ -e "$root/$f" ] || fail "missing $f"
done

for exe in "$root"/bin/*; do
  runpath=$(readelf -d "$exe" | sed -n 's/.*(\(RUNPATH\|RPATH\)).*\[\(.*\)\]/\2/p')
  case "$runpath" in
    *"$build"*) fail "$exe: RUNPATH names the build folder: $runpath" ;;
  esac
  for dir in ${runpath//:/ }; do
    case "$dir" in
      '$ORIGIN'*) ;;
      *) fail "$exe: RUNPATH entry not relative to the executable: $dir" ;;
    esac
  done
  libs=$(ldd "$exe")
  if grep -q "not found" <<<"$libs"; then fail "$exe: unresolved: $libs"; fi
  if grep -q "$build" <<<"$libs"; then fail "$exe: library from the build folder: $libs"; fi
  # libxml2 is opened on first need only: loading it and ICU cost every start.
  if grep -q libxml2 <<<"$libs"; then fail "$exe: loads libxml2 at start: $libs"; fi
done

"$root/bin/rq7.config" -v | grep -q '^Version: ' || fail "rq7.config -v"

cd "$work"
cp "$root/share/doc/rq7-config/examples/minimal_logger.xml" board.xml
out=$("$root/bin/rq7.config" -c board.xml) || fail "Logger configure: $out"
[ "$(tail -1 <<<"$out")" = "Configuration finished successfully." ] || fail "result: $out"
grep -q '^write_mem ' <<<"$out" || fail "no register writes: $out"
echo "installed tree at $root works"
