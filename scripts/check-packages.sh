#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# check-packages.sh [BUILD]: makes the Debian packages of a release build (build/release unless said
# otherwise; it is built first when it is not there), asks lintian about them, installs them, builds
# and runs packaging/consumer against them, and removes them again. Who is not root unpacks them into
# a folder instead.
set -eu
cd "$(dirname "$0")/.."
build=${1:-build/release}
if [ ! -f "$build/build.ninja" ]; then
  cmake --preset release -B "$build" --log-level=WARNING
fi
# Debian keeps libraries in a folder of their architecture; that changes the installation only.
cmake "$build" -DCMAKE_INSTALL_LIBDIR="lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH)" --log-level=WARNING
cmake --build "$build" --target zrdcmexport zrcodecs zrdcm_manual reformat_coronal
build=$(cd "$build" && pwd)
work=$(mktemp -d)
installed=""
remove_packages() {
  if [ -n "$installed" ]; then
    # The names must split into words.
    # shellcheck disable=SC2086
    dpkg --purge $installed > "$work/purge.log" 2>&1 || { cat "$work/purge.log"; return 1; }
    installed=""
  fi
}
trap 'status=$?; remove_packages || status=1; rm -rf "$work"; exit $status' EXIT
fail() {
  echo "check-packages: $*" >&2
  exit 1
}

rm -rf "$build/packages"
(cd "$build" && umask 022 && cpack -G DEB > "$work/cpack.log" 2>&1) || { cat "$work/cpack.log"; fail "cpack failed"; }
for package in libzrcodecs1 libzrcodecs-dev libzrdcmexport1 libzrimaging1 libzrdcmexport-dev zrdcm; do
  set -- "$build/packages/$package"_*.deb
  [ -f "$1" ] || fail "there is no package $package"
  echo "$package: $(dpkg-deb -f "$1" Depends)"
done

echo "lintian"
lintian --fail-on error,warning --tag-display-limit 0 --allow-root "$build"/packages/*.deb

if [ "$(id -u)" -eq 0 ]; then
  prefix=/usr
  if dpkg-query -W -f='${Status}\n' libzrcodecs1 libzrcodecs-dev libzrdcmexport1 libzrimaging1 libzrdcmexport-dev zrdcm 2>/dev/null | grep -q ' installed'; then
    fail "one of the packages is installed already"
  fi
  installed="zrdcm libzrdcmexport-dev libzrcodecs-dev libzrimaging1 libzrdcmexport1 libzrcodecs1"
  dpkg -i "$build"/packages/*.deb > "$work/install.log" || { cat "$work/install.log"; fail "dpkg -i failed"; }
else
  prefix="$work/unpacked/usr"
  for package in "$build"/packages/*.deb; do
    dpkg-deb -x "$package" "$work/unpacked"
  done
  # Outside of /usr the linker has to be told.
  LD_LIBRARY_PATH=$(dirname "$(find "$work/unpacked" -name libzrdcmexport.so.1)")
  PKG_CONFIG_PATH=$(dirname "$(find "$work/unpacked" -name zrdcmexport.pc)")
  PKG_CONFIG_SYSROOT_DIR=$work/unpacked
  export LD_LIBRARY_PATH PKG_CONFIG_PATH PKG_CONFIG_SYSROOT_DIR
fi

echo "the program of $prefix"
"$prefix/bin/zrdcm" --version
ls "$prefix/share/man/man1/zrdcm.1.gz" "$prefix/share/bash-completion/completions/zrdcm" \
  "$prefix/share/zsh/vendor-completions/_zrdcm"
ldd "$prefix/bin/zrdcm" | grep -q "libzrdcmexport.so.1 => $prefix" || [ "$prefix" = /usr ] || fail "zrdcm finds another library"
ldd "$prefix/bin/zrdcm" | grep 'not found' && fail "zrdcm lacks libraries"

echo "find_package"
cmake -S packaging/consumer -B "$work/found" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" --log-level=WARNING
grep -q "zrdcmexport_DIR:PATH=$prefix/" "$work/found/CMakeCache.txt" || fail "another package was found"
cmake --build "$work/found"
"$work/found/consumer"
"$work/found/codecs_consumer"
"$work/found/imaging_consumer"

echo "pkg-config"
# The flags must split into words.
# shellcheck disable=SC2046
g++ -std=c++17 packaging/consumer/main.cpp -o "$work/consumer" $(pkg-config --cflags --libs zrdcmexport)
"$work/consumer"
# shellcheck disable=SC2046
g++ -std=c++17 packaging/consumer/imaging.cpp -o "$work/imaging" $(pkg-config --cflags --libs zrimaging)
"$work/imaging"

if [ "$prefix" = /usr ]; then
  remove_packages
  [ ! -e /usr/include/zrdcmexport ] || fail "removing left headers behind"
  [ ! -e /usr/bin/zrdcm ] || fail "removing left zrdcm behind"
  ldconfig -p | grep -q libzrdcmexport && fail "removing left the library behind"
fi
echo "packages are fine"
