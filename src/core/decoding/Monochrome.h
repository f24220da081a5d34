// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "decoding/SliceDecoding.h"
#include "dicom/Result.h"

#include <ktlib/KtHandle.h>
#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrdcmexport/ZrSamples.h>
#include <zrvolren/ZrDataAccess.h>

#include <memory>

/// The steps from a monochrome item to samples, for SliceImage::process.
namespace Zrg::Decoding {

/// Whether a monochrome image has one sample a pixel.
[[nodiscard]] Result<void> requireOneSamplePerPixel(DcmItem& item);

/// All frames: decodes them where they are, in the pixel data element.
/// @return the element's own array; null when it has none.
[[nodiscard]] Result<char*> decodeInPlace(const Task& task);

/// Memory of a slice's own for the selected frames; not taken for frames that cannot be there.
[[nodiscard]] Result<std::shared_ptr<char>> allocateFrames(const Task& task);

/// Whether the target holds the selected frames.
[[nodiscard]] Result<void> targetHoldsFrames(const Task& task);

/// Decodes the selected frames one after the other to `destination`, which holds them all.
[[nodiscard]] Result<void> decodeFrames(const Task& task, char* destination);

/// Where SliceImage::process takes the stored bits of samples of one or two bytes from. To be read
/// after decoding, as decoders may rewrite the attributes with the samples.
[[nodiscard]] StoredSamples readProcessedSamples(DcmItem& item, unsigned int bytesPerSample);

/// Samples of one or two bytes, frame after frame without gaps, as the transform takes them; they
/// belong to somebody else.
[[nodiscard]] KtHandle<ZrDataAccess> wrapSamples(char* samples, const KtVec3l& extent,
                                                 unsigned int bytesPerSample, bool isSigned);

/// Isolates the stored bits, applies the modality LUT and makes signed samples unsigned, in place.
/// @return what was added to make them unsigned
[[nodiscard]] Result<int> convertInPlace(const KtHandle<ZrDataAccess>& samples,
                                         const ExDicomUtilities::LUT& modalityLut,
                                         const StoredSamples& stored);

}  // namespace Zrg::Decoding
