#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# Usage: exported_symbols.sh LIBRARY. Fails when the library exports a symbol outside its surface,
# lacks one of it, or does not carry the name and flag that loading and unloading rely on.
set -eu
library=$1
symbols=$(nm -DC --defined-only "$library" | cut -d' ' -f3-)
status=0

surface='^(Zrg::|ExDicomUtilities::|ExDCM::|ZrDcmExport::|operator(<<|>>)\(ZrMsg&, |(typeinfo|typeinfo name|vtable) for Zrg::|void Zrg::|ZRDCMEXPORT_1$)'
strangers=$(printf '%s\n' "$symbols" | sed 's/@@.*//' | grep -vE "$surface" || true)
# Sanitizer builds add their own per-library symbols.
strangers=$(printf '%s\n' "$strangers" | grep -vE '^(__asan|__ubsan|__odr_asan|__tsan|$)' || true)
if [ -n "$strangers" ]; then
  printf 'exported, but not part of the surface:\n%s\n' "$strangers"
  status=1
fi

for wanted in 'Zrg::decodeFrame(DcmItem&' 'Zrg::SampleTransform::makingUnsigned(' 'Zrg::readStoredSamples(' 'Zrg::FrameReader::open(' 'Zrg::FrameReader::check(' 'Zrg::FrameReader::decode(' 'Zrg::FrameReader::decodeContainers(' 'Zrg::FrameReader::containerBytes(' 'Zrg::FrameFragmentIndex::fragmentsOf(' 'Zrg::decodedBytes(' 'Zrg::describeImage(' \
  'Zrg::numberOfFrames(' 'Zrg::readFrameFormat(' 'Zrg::SliceImage::process(' 'Zrg::SliceImage::setFrameOffset(' \
  'ExDicomUtilities::LUT::dcmDatasetRead(' 'ExDicomUtilities::extractSample_applyLUT_makeUnsigned(' \
  'Zrg::SliceImage::extractEmbeddedOverlay<unsigned short>(' \
  'Zrg::SliceImage::extractEmbeddedOverlay<unsigned char>(' 'Zrg::MultiFrameImage::process(' \
  'Zrg::isEnhancedDicomSOPClassUID(' 'Zrg::readFrameOrder(' 'Zrg::readFrameIncrement(' 'Zrg::floatOf(' 'Zrg::findTransferSyntax(' 'Zrg::isDecodable(' \
  'Zrg::readCodedFrame(DcmItem&' 'ExDCM::registerPrivateDicomTags(' 'ExDCM::PrivateTag::QAHistory' \
  'ZrDcmExport::writeImageAsIs(' 'ZrDcmExport::refusedAttribute' 'ZrDcmExport::reasonNotWritable(' 'operator<<(ZrMsg&, ExDicomUtilities::LUT const&)' \
  'typeinfo for Zrg::SliceImage' 'vtable for Zrg::MultiFrameImage'; do
  if ! printf '%s\n' "$symbols" | grep -qF "$wanted"; then
    echo "missing from the surface: $wanted"
    status=1
  fi
done

dynamic=$(readelf -d "$library")
printf '%s\n' "$dynamic" | grep -q 'SONAME.*\[libzrdcmexport\.so\.1\]' || { echo "the SONAME is not libzrdcmexport.so.1"; status=1; }
printf '%s\n' "$dynamic" | grep -q 'NODELETE' || { echo "the library is not marked NODELETE"; status=1; }
exit $status
