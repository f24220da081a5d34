#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# Installs the Debian packages of packaging/packages.txt that are missing; quick when none is.
set -eu
here=$(cd "$(dirname "$0")/.." && pwd)
missing=""
for package in $(sed 's/#.*//' "$here/packaging/packages.txt"); do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing="$missing $package"
done
if [ -z "$missing" ]; then
  echo "all packages are installed"
  exit 0
fi
as_root=""
if [ "$(id -u)" -ne 0 ]; then
  as_root="sudo"
fi
echo "installing:$missing"
$as_root apt-get update -qq
# The names must split into words.
# shellcheck disable=SC2086
DEBIAN_FRONTEND=noninteractive $as_root apt-get install -y -qq --no-install-recommends $missing
