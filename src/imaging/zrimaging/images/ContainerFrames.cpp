// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/images/ContainerFrames.h"

#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/images/Explanation.h"
#include "zrimaging/images/LossyFlag.h"
#include "zrimaging/images/Polarity.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <string>
#include <utility>

namespace zr {

ContainerFrames::ContainerFrames(const File& file, const PixelDescription& pixels,
                                 std::optional<ColourConversion> colour)
    : file_(file),
      pixels_(pixels),
      containers_(containersOf(file, pixels)),
      colour_(std::move(colour)) {
  traits_.type = colour_ ? colour_->type() : pixels.containerType();
  traits_.rows = pixels.rows;
  traits_.columns = pixels.columns;
  traits_.channels = colour_ ? colour_->channels() : 1;
  traits_.monochrome = pixels.isMonochrome();
  traits_.darkIsHigh =
      pixels.isMonochrome() && isHighShownDark(file.dataset(), pixels.photometricInterpretation);
  traits_.lossy = wentThroughLoss(file);
  traits_.values = Values::kStored;
}

void ContainerFrames::check(std::size_t number) {
  try {
    containers_->check(number);
  } catch (const Error& error) {
    throw whyNotDecoded(file_, error);
  }
}

void ContainerFrames::decode(std::size_t number, void* target, bool /*named*/) {
  auto* const bytes = static_cast<unsigned char*>(target);
  if (!colour_) {
    (void)containers_->read(number, bytes);  // monochrome as it was
    return;
  }
  oneFrame_.resize(static_cast<std::size_t>(pixels_.containerBytes()));
  const std::string interpretation = containers_->read(number, oneFrame_.data());
  colour_->convert(oneFrame_.data(), interpretation, bytes);
}

}  // namespace zr
