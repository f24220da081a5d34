// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <memory>
#include <string>
#include <vector>

namespace support {

/// The elements of a dataset under construction. Everything that DCMTK refuses throws
/// std::logic_error: a fixture that is not what its test says must not go unnoticed.
class DatasetContent {
public:
  /// Text in the VR of the dictionary; US and AT elements read it as numbers and "(gggg,eeee)".
  void putText(const DcmTagKey& key, const std::string& text);
  /// Text in a VR of one's own choice, for elements that are not what the dictionary says.
  void putText(const DcmTagKey& key, DcmEVR vr, const std::string& text);
  void putUint16(const DcmTagKey& key, const std::vector<Uint16>& values);
  void putSint16(const DcmTagKey& key, const std::vector<Sint16>& values);
  void putBytes(const DcmTagKey& key, DcmEVR vr, const std::vector<Uint8>& bytes);
  void putWords(const DcmTagKey& key, const std::vector<Uint16>& words);
  void putElement(std::unique_ptr<DcmElement> element);
  /// Appends one item to a sequence, which is created when needed.
  void appendItem(const DcmTagKey& sequence, const DcmItem& item);
  void remove(const DcmTagKey& key);

  DcmDataset& dataset() { return dataset_; }
  const DcmDataset& dataset() const { return dataset_; }

private:
  DcmDataset dataset_;
};

/// The verbs that every builder offers; `Builder` is the class that derives from it.
template <class Builder>
class BuilderVerbs {
public:
  /// An element with text values, several of them joined by backslashes.
  Builder& with(const DcmTagKey& key, const std::string& text) {
    content_.putText(key, text);
    return self();
  }

  /// The same with a VR that differs from the dictionary's.
  Builder& with(const DcmTagKey& key, DcmEVR vr, const std::string& text) {
    content_.putText(key, vr, text);
    return self();
  }

  /// An element that is there and has no value.
  Builder& withEmpty(const DcmTagKey& key) { return with(key, ""); }

  /// A US element with one value or several.
  Builder& withUint16(const DcmTagKey& key, Uint16 value) { return withUint16s(key, {value}); }
  Builder& withUint16s(const DcmTagKey& key, const std::vector<Uint16>& values) {
    content_.putUint16(key, values);
    return self();
  }

  /// An SS element with one value or several.
  Builder& withSint16(const DcmTagKey& key, Sint16 value) { return withSint16s(key, {value}); }
  Builder& withSint16s(const DcmTagKey& key, const std::vector<Sint16>& values) {
    content_.putSint16(key, values);
    return self();
  }

  /// An OB (or UN) element.
  Builder& withBytes(const DcmTagKey& key, const std::vector<Uint8>& bytes, DcmEVR vr = EVR_OB) {
    content_.putBytes(key, vr, bytes);
    return self();
  }

  /// An OW element.
  Builder& withWords(const DcmTagKey& key, const std::vector<Uint16>& words) {
    content_.putWords(key, words);
    return self();
  }

  /// Pixel data of 8-bit words (OB) or 16-bit words (OW), as an image reader finds it.
  Builder& withPixels8(const std::vector<Uint8>& words) { return withBytes(DCM_PixelData, words); }
  Builder& withPixels16(const std::vector<Uint16>& words) {
    return withWords(DCM_PixelData, words);
  }

  /// Any element; it replaces one with the same tag.
  Builder& withElement(std::unique_ptr<DcmElement> element) {
    content_.putElement(std::move(element));
    return self();
  }

  /// One more item at the end of a sequence.
  template <class Other>
  Builder& withItem(const DcmTagKey& sequence, const BuilderVerbs<Other>& item) {
    content_.appendItem(sequence, item.content().dataset());
    return self();
  }

  /// Takes an element away, be it there or not.
  Builder& without(const DcmTagKey& key) {
    content_.remove(key);
    return self();
  }

  const DatasetContent& content() const { return content_; }

protected:
  DatasetContent content_;

private:
  Builder& self() { return static_cast<Builder&>(*this); }
};

/// Builds a dataset element by element. A builder may be built from and extended more than once.
class DatasetBuilder : public BuilderVerbs<DatasetBuilder> {
public:
  /// A dataset of its own with all elements so far.
  [[nodiscard]] std::unique_ptr<DcmDataset> build() const;

  /// The same elements as an item that belongs to no dataset.
  [[nodiscard]] std::unique_ptr<DcmItem> buildItem() const;
};

}  // namespace support
