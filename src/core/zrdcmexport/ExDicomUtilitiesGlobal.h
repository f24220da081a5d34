// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtHandle.h>
#include <ktlib/KtResult.h>
#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrdcmexport/ZrdcmexportApi.h>
#include <zrvolren/ZrDataAccess.h>
#include <zrvolren/ZrFail.h>

#include <string>

namespace ExDicomUtilities {

/// Isolates the stored bits of integer samples, applies a lookup table if there is one, and
/// otherwise makes signed samples unsigned.
///
/// Per sample: the stored bits are shifted or masked out of their container (signed samples get
/// their sign back). With a table the result is looked up; inputs before the first mapped value get
/// the first entry, inputs behind the last one the last. Without a table signed samples get 128 or
/// 32768 added, according to their width in memory and not to Bits Stored.
///
/// The target has the type of the table, or of the source when there is none, in its unsigned form,
/// and as many values per pixel as the table or the source. Combinations that cannot be converted
/// (32-bit samples, 16-bit samples with an 8-bit table, tables that have neither 1 nor 3 values per
/// entry) leave the samples alone and still succeed; the type is relabelled. A table without
/// storage counts as none. Of a source with several values per pixel all values are converted when
/// there is no table; a table is applied to the first value of each pixel.
///
/// Source and target may have any strides; rows without gaps between their pixels are the fast
/// case.
///
/// @param inoutSourceData  samples of an integer type; converted themselves when done in place
/// @param outTargetData    null, the source itself, or another container. A container of the right
///                         type, values per pixel and dimensions is filled, otherwise it is
///                         replaced by a new one. It stays null when it was null and the source
///                         was converted in place. May be the same handle as the first one.
/// @param offset           what was added to make signed samples unsigned: 0, 128 or 32768
/// @param lut              the table; the empty one for none
/// @param allowInPlace     the result may overwrite the source when target is null or the source
///                         itself; happens if bytes per value and values per pixel stay the same
/// @param bitsStored       Bits Stored; more than the sample's width counts as the width, and 0
///                         makes every sample 0
/// @param highBit          High Bit, 0-based; more than the sample's highest counts as the highest
/// @return good; or bad with code 1 when the source is null or of no integer type, when there is no
///         memory for the target (which is then a container without samples), or when the source is
///         the target and cannot be converted in place. All but the last are reported to the log.
///         No sample is changed when the result is bad.
/// @see PS3.5 8.1.1 (Pixel Data Encoding), PS3.3 C.11.1 (Modality LUT Module)
[[nodiscard]] ZRDCMEXPORT_API KtResult extractSample_applyLUT_makeUnsigned(
    const KtHandle<ZrDataAccess>& inoutSourceData, KtHandle<ZrDataAccess>& outTargetData,
    int& offset, const LUT& lut, bool allowInPlace, unsigned bitsStored, unsigned highBit);

/// Makes the result of an internal check: good when the condition holds, else code 2 with the
/// message "Internal Error", the position in the library's sources and the condition as
/// "cond[...]".
///
/// @param holds      whether the condition holds
/// @param condition  the condition's text
/// @param file       name of the source file without folder
/// @param line       line of the check; by default the caller's
[[nodiscard]] inline KtResult internalCheck(bool holds, const char* condition, const char* file,
                                            int line = __builtin_LINE()) {
  if (holds) {
    return {};
  }
  const std::string source = std::string("src/core/zrdcmexport/") + file + ":<unknown function>";
  const std::string text = std::string("cond[") + condition + "]";
  return {2, line, source.c_str(), "Internal Error", text.c_str()};
}

/// Does an internal check and reports a failure through Zr::fail.
///
///     if (ExDicomUtilities::failsInternally(res.isOk(), "res.isOk()", "ZrSliceImage")) {
///       return KtResult::makeBad(1);
///     }
///
/// @return true when the condition does not hold
[[nodiscard]] inline bool failsInternally(bool holds, const char* condition, const char* file,
                                          int line = __builtin_LINE()) {
  return !holds && Zr::fail(internalCheck(holds, condition, file, line));
}

}  // namespace ExDicomUtilities
