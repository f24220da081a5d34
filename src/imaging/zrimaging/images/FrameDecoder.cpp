// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/images/FrameDecoder.h"

#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/images/Explanation.h"

#include <zrdcmexport/ZrNumbers.h>
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <cstring>
#include <string>

namespace zr {

namespace {

SampleType storedType(const Zrg::FrameFormat& format, DcmItem& item) {
  const bool twoBytes = format.bytesPerSample == 2;
  const bool isSigned = format.monochrome && Zrg::intOf(textOf(item, DCM_PixelRepresentation)) == 1;
  if (isSigned) {
    return twoBytes ? SampleType::kS16 : SampleType::kS8;
  }
  return twoBytes ? SampleType::kU16 : SampleType::kU8;
}

}  // namespace

FrameDecoder::FrameDecoder(const File& file) : file_(file) {
  std::string error;
  DcmItem& item = file.dataset();
  Zrg::SliceImage slice;
  if (!Zrg::readFrameFormat(item, format_, error) || !Zrg::describeImage(item, slice, error)) {
    throw whyNotDecoded(file, decoderError(error));
  }
  if (format_.rows == 0 || format_.columns == 0) {
    throw Error(Reason::NoPixelData, "has an image without pixels");
  }
  if (format_.bytesPerSample > 2) {
    throw whyNotDecoded(
        file, Error(Reason::Unsupported, "has samples of 32 bits, which are not decoded"));
  }
  traits_.type = storedType(format_, item);
  traits_.rows = format_.rows;
  traits_.columns = format_.columns;
  traits_.channels = format_.samplesPerPixel;
  traits_.monochrome = format_.monochrome;
  traits_.darkIsHigh = file.photometricInterpretation() == "MONOCHROME1";
  traits_.lossy = slice.lossy;
  traits_.stored = format_.monochrome;
}

void FrameDecoder::decode(std::size_t number, void* target, bool named) const {
  std::string error;
  if (!Zrg::decodeFrame(file_.dataset(), number, target, frameBytes(), error)) {
    throw decoderError(named ? "frame " + std::to_string(number) + ": " + error : error);
  }
}

void FrameDecoder::decodeOnly(void* target) const {
  try {
    decode(0, target, false);
  } catch (const Error& error) {
    std::string unused;
    Zrg::SliceImage slice;
    slice.convertSamples = false;
    if (!slice.process(file_.dataset(), unused, -1, -1, nullptr, 0)) {
      throw whyNotDecoded(file_, error);
    }
    const char* const samples = slice.data != nullptr ? slice.data : slice.buffer.get();
    std::memcpy(target, samples + static_cast<unsigned>(slice.frameOffset), frameBytes());
  }
}

void FrameDecoder::requireBytesOf(std::size_t frames) const {
  DcmElement* element = nullptr;
  const bool native = !DcmXfer(file_.dataset().getOriginalXfer()).isEncapsulated();
  if (!format_.monochrome || !native ||
      file_.dataset().findAndGetElement(DCM_PixelData, element).bad()) {
    return;
  }
  const std::size_t expected = frames * frameBytes();
  const std::size_t found = element->getLength();
  if (found < expected) {
    throw whyNotDecoded(file_, Error(Reason::Damaged,
                                     "Pixel data incomplete, expected " + std::to_string(expected) +
                                         " bytes, found " + std::to_string(found) + " bytes"));
  }
}

}  // namespace zr
