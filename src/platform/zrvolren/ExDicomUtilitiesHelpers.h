// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtDArray.h>
#include <ktlib/KtString.h>
#include <zrvolren/ZrvolrenApi.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcxfer.h"

#include <string>

class DcmItem;

namespace ExDicomUtilities {

/// Converts decimal strings (VR DS) that are joined by backslashes.
///
/// Each value may have blanks around it, a sign, a decimal point and an exponent: "1e3", "+5" and
/// "-.5" are numbers. "nan", "inf", hexadecimal digits, an empty value and a value beyond the range
/// of float are none; a value too small for float is 0. The locale does not matter.
///
/// @param values the text
/// @param count how many values are expected: a hint for reserving memory and nothing else
/// @return every value of the text, whatever `count`; empty when the text is empty or any of its
///         values is not a number
/// @see PS3.5 6.2 (Value Representation DS)
[[nodiscard]] ZRVOLREN_API KtDArray<float> stringToFloats(const std::string& values,
                                                          unsigned long count);

/// Reads Photometric Interpretation (0028,0004) and puts its usual misspellings right.
///
/// Blanks around the first value are dropped and letters made upper-case. "PALETTE COLOR" and
/// "YBR_FULL_422" are recognised however their words are parted ("PALETTE_COLOR", "PALETTECOLOUR",
/// "YBR FULL 422", ...) and spelled as the standard has them; any other value stays as it is.
///
/// @param item only read; may be null
/// @param transferSyntax how the pixel data is stored. No repair depends on it here; it is there
/// for
///        hosts that know of writers whose interpretation is wrong under certain codecs.
/// @param photometricInterpretation the value; empty when the result is false
/// @return false when there is no item, no such element with a text VR, or no value in it
/// @see PS3.3 C.7.6.3.1.2 (Photometric Interpretation)
[[nodiscard]] ZRVOLREN_API bool getAndFixPhotometricInterpretation(
    DcmItem* item, E_TransferSyntax transferSyntax, KtString& photometricInterpretation);

}  // namespace ExDicomUtilities
