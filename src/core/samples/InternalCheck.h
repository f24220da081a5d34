// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrdcmexport/ExDicomUtilitiesGlobal.h>

/// Names of the sources in the reports of internal checks, "src/core/zrdcmexport/NAME:<unknown
/// function>".
///
/// Deliberate: readers of logs search for these names, so they stay as they are, whichever file
/// holds the check, and with or without an ending.
/// Tests: SliceDecodingModalityLut.OfWiderEntriesThanTheSamplesFails, LutReading.*,
/// SampleTransform.*
namespace ExDicomUtilities::CheckSource {

inline constexpr const char* kFrameConversion = "ZrSliceImage";
inline constexpr const char* kLutReading = "ExDicomUtilitiesGlobal.h";
inline constexpr const char* kSampleTransform = "ExDicomUtilitiesLUT.cpp";

}  // namespace ExDicomUtilities::CheckSource
