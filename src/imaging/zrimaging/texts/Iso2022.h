// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/texts/Utf8.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcvr.h"

#include <string_view>

namespace zr {

/// A repertoire of characters that escape sequences can bring in.
struct CodedSet;

/// The sets in use: that of the bytes below 80 (G0) and that of those above (G1), where null stands
/// for no characters at all.
struct CodedSets {
  const CodedSet* low;
  const CodedSet* high;
};

/// ASCII and nothing beyond.
CodedSets asciiAlone();

/// What a text begins with in the set "ISO_IR NUMBER" or, with escape sequences, "ISO 2022 IR
/// NUMBER": ASCII alone when the number is not known.
CodedSets setsOf(std::string_view number, bool switching);

/// Reads a text in sets that escape sequences may change (PS3.5 6.1.2.5).
/// @param switches whether there may be escape sequences; any known one counts, declared or not
Utf8Text readIso2022(std::string_view bytes, const CodedSets& first, bool switches, DcmEVR vr);

}  // namespace zr
