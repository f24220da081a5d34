// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Export.h"
#include "zrimaging/texts/CharacterSet.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

class ZrDcmExport;

namespace zr {

struct AttributeSet;

/// One attribute that is to be written: a text, or the items of a sequence.
struct Attribute {
  std::string name;  ///< what messages call it: "Rows", "SourceImageSequence[0].G0008-1155"
  bool isSequence = false;
  std::string text;  ///< several values separated by a backslash, in the bytes to be written
  /// The same in Unicode, where a file has it in other bytes, or in bytes that are no characters.
  std::optional<Utf8Text> unicode;
  std::vector<AttributeSet> items;  ///< of a sequence
};

/// Attributes of a dataset or an item, by tag (group in the high 16 bits, element in the low ones).
struct AttributeSet {
  std::map<std::uint32_t, Attribute> byTag;

  bool has(std::uint32_t tag) const { return byTag.contains(tag); }
  /// The text of an attribute; empty when it is not there.
  std::string text(std::uint32_t tag) const;
  /// Sets a text, named after the dictionary.
  void set(std::uint32_t tag, const std::string& text);
  /// The same, unless the attribute is there.
  void setDefault(std::uint32_t tag, const std::string& text);
};

/// Reads a JSON object of keys ("G0008-0016") or keywords ("SOPClassUID") to texts, or to lists of
/// such objects for sequences. Letters beyond ASCII are UTF-8; where no SpecificCharacterSet is
/// named for them the set gets the one of Unicode.
/// @param name what errors call the text; empty for nothing
/// @throws Error that names the key at fault.
AttributeSet parseAttributes(const std::string& json, const std::string& name);

/// The attributes of a dataset that have a text form and can be written again. Left out is what
/// belongs to the old image alone: its samples, their layout, their lookup tables and extremes, the
/// frames, and everything private.
AttributeSet exportAttributesOf(DcmItem& dataset, ExportType type);

/// Puts changes over a set; attributes that both have are replaced. When the changes name Unicode,
/// the texts that stay are converted to it, those of items with a SpecificCharacterSet of their own
/// too.
/// @throws Error when a text that stays does not convert, or is not in the set that is named.
void apply(AttributeSet& attributes, const AttributeSet& changes);

/// Finds out beforehand what the writer would refuse without saying why.
/// @throws Error that names the attribute at fault.
void requireWritable(const AttributeSet& attributes, ExportType type);

/// Hands the attributes to the writer.
/// @throws Error when the writer refuses one.
void fillWriter(ZrDcmExport& writer, const AttributeSet& attributes);

}  // namespace zr
