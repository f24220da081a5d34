// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>
#include <zrimaging/Error.h>
#include <zrimaging/ZrimagingApi.h>

class DcmElement;
class DcmItem;
class DcmTagKey;

namespace zr {

/// Where an element is in a dataset: its tag, and before it the sequences that hold it.
///
///     PatientID                               a keyword of DCMTK's dictionary
///     0010,0020   (0010,0020)   00100020      a number, hexadecimal
///     7005,16,TOSHIBA_MEC_CT3                 a private element: group, element within the block
///                                             of its creator, creator (also 7005,xx16 and
///                                             7005,1016)
///     5200,9230[3]/0020,9113/0020,0032        item 3 (0-based; item 0 where none is named) of one
///                                             sequence, item 0 of another in it, an element
class ZRIMAGING_API AttributePath {
public:
  /// One element on the way.
  struct Step {
    std::uint16_t group = 0;
    std::uint16_t element = 0;  ///< with a creator only its low byte counts
    std::string creator;   ///< private creator whose block is looked for; empty for any element
    std::size_t item = 0;  ///< of a sequence on the way: which of its items, 0-based
  };

  /// Reads a path. Keywords of private elements are known too.
  /// @throws Error (Unsupported) "'TEXT' is neither the number nor the keyword of an element"
  static AttributePath parse(const std::string& text);

  /// At least one; the last is the element itself.
  [[nodiscard]] const std::vector<Step>& steps() const { return steps_; }
  /// As it was parsed.
  [[nodiscard]] const std::string& text() const { return text_; }

private:
  std::string text_;
  std::vector<Step> steps_;
};

/// The element of a path; null when it or a sequence or item on the way is not there. It belongs to
/// the dataset.
[[nodiscard]] ZRIMAGING_API DcmElement* findElement(DcmItem& dataset, const AttributePath& path);

/// What the words of a value (OW) are read as.
enum class WordType : std::uint8_t { kU16, kS16, kF32, kF64, kS32 };

/// An element with its value as text.
struct AttributeText {
  std::string tag;                     ///< "(0010,0020)"
  std::string name;                    ///< of the dictionary: "PatientID"
  std::string vr;                      ///< "LO"
  std::optional<std::string> creator;  ///< of a private element whose creator is known, in UTF-8
  std::string text;      ///< in UTF-8, several values separated by backslashes; without padding
  bool escaped = false;  ///< it holds bytes that are no characters of the file's set, as `\xE9`
};

/// The value of an element as text: strings and numbers as they are, unknown values (UN) that the
/// dictionary knows to be text, words (OW) as numbers. Texts come in UTF-8, converted from the
/// Specific Character Set of their item (PS3.3 C.12.1.1.2).
/// `words` is what words are read as; unsigned 16-bit ones when nothing is said.
/// @throws Error MissingAttribute "has no element PATH"; Unsupported when the value has no text
///         form, cannot be read as words, or is none of words though `words` says so
[[nodiscard]] ZRIMAGING_API AttributeText readText(DcmItem& dataset, const AttributePath& path,
                                                   std::optional<WordType> words = std::nullopt);

/// The first value of an element of the item itself as text, in UTF-8; empty when it is missing or
/// has no text form. Bytes that are no characters are escaped as `\xE9`.
/// @throws Error OutOfMemory
[[nodiscard]] ZRIMAGING_API std::string textOf(DcmItem& item, const DcmTagKey& key);

}  // namespace zr
