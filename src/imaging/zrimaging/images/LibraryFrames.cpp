// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/images/LibraryFrames.h"

#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/images/Explanation.h"
#include "zrimaging/images/Polarity.h"

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

bool isNative(const File& file) {
  return !DcmXfer(file.dataset().getOriginalXfer()).isEncapsulated();
}

}  // namespace

LibraryFrames::LibraryFrames(const File& file) : file_(file) {
  std::string error;
  DcmItem& item = file.dataset();
  Zrg::SliceImage slice;
  if (!reader_.open(item, error) || !Zrg::describeImage(item, slice, error)) {
    throw whyNotDecoded(file, decoderError(error));
  }
  const Zrg::FrameFormat format = reader_.format();
  if (format.rows == 0 || format.columns == 0) {
    throw Error(Reason::NoPixelData, "has an image without pixels");
  }
  traits_.type = storedType(format, item);
  traits_.rows = format.rows;
  traits_.columns = format.columns;
  traits_.channels = format.samplesPerPixel;
  traits_.monochrome = format.monochrome;
  traits_.darkIsHigh = format.monochrome && isHighShownDark(item, file.photometricInterpretation());
  traits_.lossy = slice.lossy;
  traits_.values = format.monochrome ? Values::kStored : Values::kUnsigned;
}

/// What a message about a frame amounts to.
Error LibraryFrames::refusal(std::size_t number, const std::string& message, bool named) const {
  return decoderError(named ? "frame " + std::to_string(number) + ": " + message : message);
}

void LibraryFrames::check(std::size_t number) {
  std::string error;
  if (reader_.check(number, error)) {
    return;
  }
  throw whyNotDecoded(
      file_, isNative(file_) ? Error(Reason::Damaged, error) : refusal(number, error, true));
}

void LibraryFrames::checkOnly() {
  std::string error;
  if (!reader_.check(0, error)) {
    decodeAsAWhole(isNative(file_) ? Error(Reason::Damaged, error) : refusal(0, error, false));
  }
}

void LibraryFrames::decode(std::size_t number, void* target, bool named) {
  std::string error;
  if (!reader_.decode(number, target, frameBytes(), error)) {
    throw refusal(number, error, named);
  }
}

void LibraryFrames::decodeOnly(void* target) {
  if (Zrg::firstSample(whole_) == nullptr) {
    try {
      decode(0, target, false);
      return;
    } catch (const Error& error) {
      decodeAsAWhole(error);
    }
  }
  std::memcpy(target, Zrg::firstSample(whole_), frameBytes());
}

/// Decodes all pixel data of the image at once.
/// @param found why its frame does not decode alone
void LibraryFrames::decodeAsAWhole(const Error& found) {
  std::string unused;
  whole_.convertSamples = false;
  if (!whole_.process(file_.dataset(), unused, -1, -1, nullptr, 0)) {
    throw whyNotDecoded(file_, found);
  }
}

}  // namespace zr
