#!/usr/bin/env bash
# The packages: Debian's built, checked by lintian, installed into a clean root and tried there; vcpkg's port and
# Conan's recipe run with stand-ins for these tools, as far as that shows their syntax.
#
#   .ci/packages.sh
set -euo pipefail
cd "$(dirname "$0")/.."
root_dir=$PWD
work=$root_dir/build/packages
say() { printf '\n== %s\n' "$*"; }
# shellcheck source=scripts/clean-root.sh
. scripts/clean-root.sh
trap remove_clean_root EXIT
rm -rf "$work"
mkdir -p "$work/source"

say "Debian: building"
git archive HEAD | tar x -C "$work/source"
(cd "$work/source" && dpkg-buildpackage -us -uc > "$work/build.log" 2>&1) || {
  tail -n 40 "$work/build.log"
  exit 1
}
ls -l "$work"/*.deb | awk '{ printf "%s %d KB\n", $9, $5 / 1024 }' | sed "s|$work/||"

say "Debian: lintian"
lintian --allow-root --fail-on error --display-level '>=warning' "$work"/*.changes

say "Debian: installed into a clean root and tried there"
make_clean_root "$work/root" ca-certificates
autopkgtest --quiet "$work"/*.deb "$work/source" -- chroot "$work/root" > "$work/autopkgtest.log" 2>&1 || {
  tail -n 60 "$work/autopkgtest.log"
  exit 1
}
grep -E '^(command|library) +PASS' "$work/autopkgtest.log"

say "vcpkg: the port, with stand-ins for its functions"
cmake -D "PORT_DIR=$root_dir/packaging/vcpkg/libvask" -D "CURRENT_PACKAGES_DIR=$work/vcpkg" \
  -P tests/packaging/vcpkg_port.cmake

say "Conan: the recipe, with stand-ins for its classes"
/usr/bin/python3 tests/packaging/conan_recipe.py packaging/conan/conanfile.py "$work/conan"
