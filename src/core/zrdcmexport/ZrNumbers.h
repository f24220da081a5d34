// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrdcmexport/ZrdcmexportApi.h>

#include <optional>
#include <string>

/// Numbers of DICOM text values, whatever locale the process has set.
///
/// DICOM writes numbers in one way (PS3.5 section 6.2, VRs DS and IS): a decimal point, no
/// grouping. The C library's own readers follow the locale of the process instead, which is the
/// host application's: under one with a decimal comma they read "0.75" as 0 and say nothing. The
/// functions here take the same texts for numbers as those readers do in the "C" locale, and give
/// the same numbers.
///
/// All of them skip white space at the front, read as far as a number goes and leave the rest
/// alone: of "1.5\2.5" they read the first value. A text ends at its first zero byte. They allocate
/// nothing, throw nothing, and may be called from any thread at once, also while another one sets a
/// locale.
namespace Zrg {

/// An integer, as `atoi` reads it: an optional sign and decimal digits; "12.7" is 12.
///
/// Deliberate: a number that does not fit is not refused. Its low 32 bits stay; beyond 64 bits it
/// counts as the nearest number of 64 bits, whose low bits are -1 (above) or 0 (below). Test: IntOf
///
/// @return nothing where no integer begins, for which `atoi` says 0
[[nodiscard]] ZRDCMEXPORT_API std::optional<int> intOf(const std::string& text) noexcept;

/// A number in single precision, as `sscanf` reads it with "%f" (or "%g", which is the same).
///
/// Besides decimals, "nan", "inf" and hexadecimal numbers are numbers, and one that is too large is
/// infinite: ask `std::isfinite` where that matters. A name that is begun and not ended ("infi") is
/// no number, nor is "0x" alone.
///
/// @return nothing where no number begins
[[nodiscard]] ZRDCMEXPORT_API std::optional<float> floatOf(const std::string& text) noexcept;

/// A number in double precision, as `atof` reads it.
///
/// As floatOf(), but what begins as a number counts as far as it is one: "infi" is infinite and
/// "0x" is 0.
///
/// @return nothing where no number begins, for which `atof` says 0
[[nodiscard]] ZRDCMEXPORT_API std::optional<double> doubleOf(const std::string& text) noexcept;

}  // namespace Zrg
