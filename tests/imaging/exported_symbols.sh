#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# Usage: exported_symbols.sh LIBRARY. Fails when the imaging library exports a symbol outside its surface,
# lacks one of it, or does not carry the name that loading relies on.
set -eu
library=$1
symbols=$(nm -DC --defined-only "$library" | cut -d' ' -f3- | sed 's/@@.*//')
status=0

# Sanitizer builds add their own per-library symbols.
strangers=$(printf '%s\n' "$symbols" | grep -vE '^(zr::|(typeinfo|typeinfo name|vtable) for zr::|ZRIMAGING_1$|__asan|__ubsan|__odr_asan|__tsan)' || true)
insides=$(printf '%s\n' "$symbols" | grep -E 'zr::(scanHeaders|HeaderWalk|HeaderBytes|CharacterSet|Utf8Text|LibraryFile|Leftover|SignalsHeld|[A-Za-z]+Private|AttributeSet|locate|findPlace|giveName|parseAttributes|readElementHeader|readTable|frameAt|requireFrame)\b' || true)
if [ -n "$strangers$insides" ]; then
  printf 'exported, but not part of the surface:\n%s\n%s\n' "$strangers" "$insides"
  status=1
fi

for wanted in 'zr::Error::~Error()' 'typeinfo for zr::Error' 'typeinfo for zr::ReaderGone' 'zr::nameOf(zr::Reason)' \
  'zr::File::File(std::filesystem' 'zr::File::fromBytes(' 'zr::File::text(' 'zr::AttributePath::parse(' \
  'zr::findElement(' 'zr::readText(' 'zr::textOf[' 'zr::MemoryBudget::requireFor(DcmItem&)' 'zr::parseSize(' \
  'zr::OutputFile::commit()' 'zr::ProtectedInputs::refuseToReplace(' 'zr::createFolder(' 'zr::removeLeftoversOnSignals()' \
  'zr::readerIsGone()' 'zr::groupBySeries(' 'zr::sortSeries(' 'zr::parseOrderSwitches(' 'zr::copyRenumbered(' \
  'zr::NewImage::write(' 'zr::writeDicomFile(' 'zr::Image::' 'zr::readModalityTable(' 'zr::readPalette(' 'zr::plotTables(' 'zr::sendLogTo(' 'zr::collectDecoderWarnings()' 'zr::utf8At(' 'zr::shortest['; do
  if ! printf '%s\n' "$symbols" | grep -qF "$wanted"; then
    echo "missing from the surface: $wanted"
    status=1
  fi
done

readelf -d "$library" | grep -q 'SONAME.*\[libzrimaging\.so\.1\]' || { echo "the SONAME is not libzrimaging.so.1"; status=1; }
exit $status
