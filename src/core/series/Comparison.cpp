// SPDX-License-Identifier: BSD-3-Clause
//
// Order of two images of a series. Each dataset is walked once to find the elements that the
// criteria read; a look-up per attribute would walk it again every time, and to its end for each
// attribute that is absent. Then one function per criterion compares the values, in the order in
// which they decide.

#include <zrdcmexport/ExDCM.h>
#include <zrdcmexport/ZrNumbers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdatset.h"
#include "dcmtk/dcmdata/dcelem.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ExDCM {

namespace {

// What a comparison reads, in the order of the keys.
enum ComparedAttribute : std::size_t {
  kImageType,
  kSliceThickness,
  kEchoTime,
  kSeriesInstanceUID,
  kInstanceNumber,
  kTemporalPositionIdentifier,
  kPctRpeakDelay,
  kVendorIndex,
  kVendorSubIndex,
  kToshibaCardiacPhase,
  kToshibaVolumeUID,
  kComparedCount
};

// A key as one number, in the order in which DCMTK keeps the elements of a dataset.
using KeyNumber = std::uint32_t;

KeyNumber keyNumber(const DcmTagKey& key) {
  return (static_cast<KeyNumber>(key.getGroup()) << 16U) | key.getElement();
}

// The keys that decide. The private ones are known by number alone.
//
// Deliberate: whatever creator the dataset names for their block.
// Test: Compare.FindsPrivateElementsWhoeverCreatedTheBlock
constexpr std::array<KeyNumber, kComparedCount> kKeys = {
    0x00080008, 0x00180050, 0x00180081, 0x0020000e, 0x00200013, 0x00200100,
    0x00451033, 0x20051412, 0x20051413, 0x70051005, 0x70051016};

// A text that is not a number counts as 0.
double decimalIn(const OFString& text) {
  return Zrg::doubleOf(text).value_or(0.0);
}

// The elements of one dataset that decide its place, and their values.
class OrderAttributes {
public:
  // Reads the attributes up to `last`. Both the elements of a dataset and the keys are sorted.
  OrderAttributes(DcmDataset& dataset, ComparedAttribute last) {
    std::size_t next = 0;
    for (DcmObject* object = dataset.nextInContainer(nullptr); object != nullptr && next <= last;
         object = dataset.nextInContainer(object)) {
      const KeyNumber key = keyNumber(object->getTag());
      while (next <= last && kKeys.at(next) < key) {
        ++next;
      }
      if (next <= last && kKeys.at(next) == key) {
        elements_.at(next) = static_cast<DcmElement*>(object);
        ++next;
      }
    }
  }

  // First value; false when it is absent or no text can be had of it.
  bool readFirstText(ComparedAttribute attribute, OFString& text) const {
    DcmElement* element = elements_.at(attribute);
    return element != nullptr && element->getOFString(text, 0).good();
  }

  // All values, joined by backslashes.
  bool readAllText(ComparedAttribute attribute, OFString& text) const {
    DcmElement* element = elements_.at(attribute);
    return element != nullptr && element->getOFStringArray(text).good();
  }

  // True when both datasets hold the same characters in elements of one VR, which says whether
  // blanks count. Cheaper than reading them as values, and the images of a series agree in most of
  // what is compared.
  bool holdsSameTextAs(const OrderAttributes& other, ComparedAttribute attribute) const {
    const DcmElement* const element = elements_.at(attribute);
    const DcmElement* const otherElement = other.elements_.at(attribute);
    if (element == nullptr || otherElement == nullptr ||
        element->ident() != otherElement->ident()) {
      return false;
    }
    char* text = nullptr;
    char* otherText = nullptr;
    Uint32 length = 0;
    Uint32 otherLength = 0;
    return storedText(attribute, text, length) &&
           other.storedText(attribute, otherText, otherLength) && length == otherLength &&
           std::memcmp(text, otherText, length) == 0;
  }

  OFString text(ComparedAttribute attribute) const {
    OFString text;
    return readFirstText(attribute, text) ? text : OFString();
  }

  double decimal(ComparedAttribute attribute, double whenMissing) const {
    OFString text;
    return readFirstText(attribute, text) ? decimalIn(text) : whenMissing;
  }

  int integer(ComparedAttribute attribute, int whenMissing) const {
    OFString text;
    return readFirstText(attribute, text) ? Zrg::intOf(text).value_or(0) : whenMissing;
  }

private:
  // The characters of a text element that is not empty.
  bool storedText(ComparedAttribute attribute, char*& text, Uint32& length) const {
    DcmElement* element = elements_.at(attribute);
    return element != nullptr && element->getString(text, length).good() && text != nullptr;
  }

  std::array<DcmElement*, kComparedCount> elements_{};
};

// The attribute with the largest key that any of the criteria reads; a walk may end behind it,
// which spares it the overlays and private blocks of most datasets.
ComparedAttribute lastAttribute(bool byVendorIndices, bool byTemporalPosition, bool byRpeakDelay,
                                bool byVolumeUID, bool byCardiacPhase) {
  if (byVolumeUID) {
    return kToshibaVolumeUID;
  }
  if (byCardiacPhase) {
    return kToshibaCardiacPhase;
  }
  if (byVendorIndices) {
    return kVendorSubIndex;
  }
  if (byRpeakDelay) {
    return kPctRpeakDelay;
  }
  return byTemporalPosition ? kTemporalPositionIdentifier : kInstanceNumber;
}

// The criteria: negative, positive, or 0 when the criterion does not tell the datasets apart.

// Difference in 32 bits: values that are far apart wrap around.
int difference(int first, int second) {
  return static_cast<int>(static_cast<unsigned>(first) - static_cast<unsigned>(second));
}

// -1 or 1 for values that differ; values without an order (NaN) do not decide.
int compareExactly(double first, double second) {
  if (first < second) {
    return -1;
  }
  return first > second ? 1 : 0;
}

bool areOfOneSeries(const OrderAttributes& first, const OrderAttributes& second) {
  if (first.holdsSameTextAs(second, kSeriesInstanceUID)) {
    return true;
  }
  const OFString firstSeries = first.text(kSeriesInstanceUID);
  const OFString secondSeries = second.text(kSeriesInstanceUID);
  return std::strcmp(firstSeries.c_str(), secondSeries.c_str()) == 0;
}

int compareImageType(const OrderAttributes& first, const OrderAttributes& second) {
  if (!areOfOneSeries(first, second) || first.holdsSameTextAs(second, kImageType)) {
    return 0;
  }
  OFString firstType;
  OFString secondType;
  if (!first.readAllText(kImageType, firstType) || !second.readAllText(kImageType, secondType)) {
    return 0;
  }
  return std::strcmp(firstType.c_str(), secondType.c_str());
}

int compareEchoTime(const OrderAttributes& first, const OrderAttributes& second) {
  const double firstTime = first.decimal(kEchoTime, -1.0);
  const double secondTime = second.decimal(kEchoTime, -1.0);
  if (std::fabs(firstTime - secondTime) > 0.01) {
    return firstTime >= secondTime ? 1 : -1;
  }
  return 0;
}

int compareVendorIndices(const OrderAttributes& first, const OrderAttributes& second) {
  const int index = difference(first.integer(kVendorIndex, 0), second.integer(kVendorIndex, 0));
  if (index != 0) {
    return index;
  }
  // Deliberate: what is absent counts differently on the two sides, so that two datasets without
  // the element come out as 1 in either order. Test: Compare.VendorIndicesAbsentOnBothSidesGiveOne
  return difference(first.integer(kVendorSubIndex, 0), second.integer(kVendorSubIndex, -1));
}

int compareSliceThickness(const OrderAttributes& first, const OrderAttributes& second) {
  // Deliberate: a float's 0.001 is a little more than a double's.
  // Test: Compare.ThicknessToleranceIsThatOfAFloat
  constexpr double kTolerance = 0.001F;
  OFString firstText;
  OFString secondText;
  if (!first.readFirstText(kSliceThickness, firstText) ||
      !second.readFirstText(kSliceThickness, secondText)) {
    return 0;
  }
  const double firstThickness = decimalIn(firstText);
  const double secondThickness = decimalIn(secondText);
  if (secondThickness > firstThickness + kTolerance) {
    return -1;
  }
  return firstThickness > secondThickness + kTolerance ? 1 : 0;
}

int compareVolumeUID(const OrderAttributes& first, const OrderAttributes& second) {
  const OFString firstUID = first.text(kToshibaVolumeUID);
  const OFString secondUID = second.text(kToshibaVolumeUID);
  return std::strcmp(firstUID.c_str(), secondUID.c_str());
}

}  // namespace

int compare(DcmDataset* first, DcmDataset* second, bool byVendorIndices, bool byTemporalPosition,
            bool byRpeakDelay, bool byEchoTime, bool byVolumeUID, bool byCardiacPhase) {
  const ComparedAttribute last =
      lastAttribute(byVendorIndices, byTemporalPosition, byRpeakDelay, byVolumeUID, byCardiacPhase);
  const OrderAttributes a(*first, last);
  const OrderAttributes b(*second, last);

  int result = compareImageType(a, b);
  if (result == 0 && byEchoTime) {
    result = compareEchoTime(a, b);
  }
  if (result == 0 && byVendorIndices) {
    result = compareVendorIndices(a, b);
  }
  if (result == 0 && byTemporalPosition) {
    result = difference(a.integer(kTemporalPositionIdentifier, 0),
                        b.integer(kTemporalPositionIdentifier, 0));
  }
  if (result == 0 && byRpeakDelay) {
    result = compareExactly(a.decimal(kPctRpeakDelay, 0.0), b.decimal(kPctRpeakDelay, 0.0));
  }
  if (result == 0) {
    result = compareSliceThickness(a, b);
  }
  if (result == 0 && byCardiacPhase) {
    result = compareExactly(a.decimal(kToshibaCardiacPhase, -1.0),
                            b.decimal(kToshibaCardiacPhase, -1.0));
  }
  if (result == 0 && byVolumeUID) {
    result = compareVolumeUID(a, b);
  }
  if (result == 0) {
    result = difference(a.integer(kInstanceNumber, 0), b.integer(kInstanceNumber, 0));
  }
  return result;
}

}  // namespace ExDCM
