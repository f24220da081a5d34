#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# Usage: exported_symbols.sh LIBRARY. Fails when the library exports a symbol outside its surface,
# lacks one of it, or does not carry the name and flag that loading and unloading rely on.
set -eu
library=$1
symbols=$(nm -DC --defined-only "$library" | cut -d' ' -f3- | sed 's/@@.*//' |
  grep -vE '^(__asan|__ubsan|__odr_asan|__tsan|ZRCODECS_1$)' | sort)
wanted='zrcodecs::adoptTransferSyntax(DcmFileFormat&)
zrcodecs::codecLibraries()
zrcodecs::deregisterCodecs()
zrcodecs::registerCodecs(zrcodecs::CodecOptions const&)'
status=0
if [ "$symbols" != "$wanted" ]; then
  printf 'exported:\n%s\n' "$symbols"
  status=1
fi
dynamic=$(readelf -d "$library")
printf '%s\n' "$dynamic" | grep -q 'SONAME.*\[libzrcodecs\.so\.1\]' || { echo "the SONAME is not libzrcodecs.so.1"; status=1; }
printf '%s\n' "$dynamic" | grep -q 'NODELETE' || { echo "the library is not marked NODELETE"; status=1; }
printf '%s\n' "$dynamic" | grep 'NEEDED.*zr' && { echo "it needs another of our libraries"; status=1; }
exit $status
