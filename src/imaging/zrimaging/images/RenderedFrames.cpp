// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/images/RenderedFrames.h"

#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/images/Explanation.h"
#include "zrimaging/images/LossyFlag.h"
#include "zrimaging/pixels/PixelAttributes.h"

#include <zrdcmexport/ZrFrames.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <string>
#include <utility>

namespace zr {

namespace {

constexpr std::size_t kChannels = 3;

void require(const OFCondition& status) {
  if (status.bad()) {
    throw Error(Reason::OutOfMemory, "out of memory");  // nothing else keeps an element out
  }
}

}  // namespace

RenderedFrames::RenderedFrames(const File& file, const PixelDescription& pixels)
    : pixels_(pixels),
      containers_(containersOf(file, pixels)),
      oneFrame_(copyPixelAttributes(file.dataset())) {
  traits_.type = SampleType::kU8;
  traits_.rows = pixels.rows;
  traits_.columns = pixels.columns;
  traits_.channels = kChannels;
  traits_.monochrome = false;
  traits_.lossy = wentThroughLoss(file);
  traits_.values = Values::kUnsigned;
}

RenderedFrames::~RenderedFrames() = default;

void RenderedFrames::check(std::size_t number) {
  containers_->check(number);
}

void RenderedFrames::decode(std::size_t number, void* target, bool /*named*/) {
  bytes_.resize(static_cast<std::size_t>(pixels_.containerBytes()));
  const std::string interpretation = containers_->read(number, bytes_.data());
  require(oneFrame_->putAndInsertString(DCM_PhotometricInterpretation, interpretation.c_str()));
  const auto words = static_cast<unsigned long>(bytes_.size() / 2);
  require(bytes_.size() % 2 == 0
              ? oneFrame_->putAndInsertUint16Array(
                    DCM_PixelData,
                    static_cast<const Uint16*>(static_cast<const void*>(bytes_.data())), words)
              : oneFrame_->putAndInsertUint8Array(DCM_PixelData, bytes_.data(),
                                                  static_cast<unsigned long>(bytes_.size())));
  std::string error;
  if (!Zrg::decodeFrame(*oneFrame_, 0, target, frameBytes(), error)) {
    throw decoderError("frame " + std::to_string(number) + ": " + error);
  }
}

}  // namespace zr
