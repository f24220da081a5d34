// SPDX-License-Identifier: BSD-3-Clause
//
// Order of two images of a series. Each dataset is walked once to find the elements that the switched
// criteria read; a look-up per attribute would walk it again every time, and to its end for each
// attribute that is absent. Then one function per criterion compares the values, in the order in
// which they decide.

#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdatset.h"
#include "dcmtk/dcmdata/dcelem.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace ExDCM {

namespace {

enum Attribute : std::size_t {
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
  kAttributeCount
};

// Set of attributes, one bit each.
using AttributeSet = unsigned;

constexpr AttributeSet setOf(Attribute attribute) {
  return 1U << attribute;
}

// Which attribute a key stands for; kAttributeCount for every other key.
//
// Deliberate: the private elements are known by number alone, whatever creator the dataset names for
// their block. Test: Compare.FindsPrivateElementsWhoeverCreatedTheBlock
Attribute attributeOf(const DcmTagKey& key) {
  switch ((static_cast<std::uint32_t>(key.getGroup()) << 16U) | key.getElement()) {
    case 0x00080008:
      return kImageType;
    case 0x00180050:
      return kSliceThickness;
    case 0x00180081:
      return kEchoTime;
    case 0x0020000e:
      return kSeriesInstanceUID;
    case 0x00200013:
      return kInstanceNumber;
    case 0x00200100:
      return kTemporalPositionIdentifier;
    case 0x00451033:
      return kPctRpeakDelay;
    case 0x20051412:
      return kVendorIndex;
    case 0x20051413:
      return kVendorSubIndex;
    case 0x70051005:
      return kToshibaCardiacPhase;
    case 0x70051016:
      return kToshibaVolumeUID;
    default:
      return kAttributeCount;
  }
}

// The elements of one dataset that decide its place, and their values.
class OrderAttributes {
public:
  OrderAttributes(DcmDataset& dataset, AttributeSet wanted) {
    AttributeSet missing = wanted;
    for (DcmObject* object = dataset.nextInContainer(nullptr); object != nullptr && missing != 0;
         object = dataset.nextInContainer(object)) {
      const Attribute attribute = attributeOf(object->getTag());
      // An item may hold a key twice when its file did; DCMTK's look-up yields the first as well.
      if (attribute != kAttributeCount && elements_.at(attribute) == nullptr) {
        elements_.at(attribute) = static_cast<DcmElement*>(object);
        missing &= ~setOf(attribute);
      }
    }
  }

  // First value; false when it is absent or no text can be had of it.
  bool readText(Attribute attribute, OFString& text) const {
    DcmElement* element = elements_.at(attribute);
    return element != nullptr && element->getOFString(text, 0).good();
  }

  // All values, joined by backslashes.
  bool readAllText(Attribute attribute, OFString& text) const {
    DcmElement* element = elements_.at(attribute);
    return element != nullptr && element->getOFStringArray(text).good();
  }

  OFString text(Attribute attribute) const {
    OFString text;
    return readText(attribute, text) ? text : OFString();
  }

  double decimal(Attribute attribute, double whenMissing) const {
    OFString text;
    return readText(attribute, text) ? std::atof(text.c_str()) : whenMissing;
  }

  int integer(Attribute attribute, int whenMissing) const {
    OFString text;
    return readText(attribute, text) ? std::atoi(text.c_str()) : whenMissing;
  }

private:
  std::array<DcmElement*, kAttributeCount> elements_{};
};

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

int compareImageType(const OrderAttributes& first, const OrderAttributes& second) {
  const OFString firstSeries = first.text(kSeriesInstanceUID);
  const OFString secondSeries = second.text(kSeriesInstanceUID);
  if (std::strcmp(firstSeries.c_str(), secondSeries.c_str()) != 0) {
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
  // Deliberate: what is absent counts differently on the two sides, so that two datasets without the
  // element come out as 1 in either order. Test: Compare.VendorIndicesAbsentOnBothSidesGiveOne
  return difference(first.integer(kVendorSubIndex, 0), second.integer(kVendorSubIndex, -1));
}

int compareSliceThickness(const OrderAttributes& first, const OrderAttributes& second) {
  // Deliberate: a float's 0.001 is a little more than a double's. Test: Compare.ThicknessToleranceIsThatOfAFloat
  constexpr double kTolerance = 0.001F;
  OFString firstText;
  OFString secondText;
  if (!first.readText(kSliceThickness, firstText) ||
      !second.readText(kSliceThickness, secondText)) {
    return 0;
  }
  const double firstThickness = std::atof(firstText.c_str());
  const double secondThickness = std::atof(secondText.c_str());
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
  const AttributeSet wanted =
      setOf(kSeriesInstanceUID) | setOf(kImageType) | setOf(kSliceThickness) |
      setOf(kInstanceNumber) | (byEchoTime ? setOf(kEchoTime) : 0U) |
      (byVendorIndices ? setOf(kVendorIndex) | setOf(kVendorSubIndex) : 0U) |
      (byTemporalPosition ? setOf(kTemporalPositionIdentifier) : 0U) |
      (byRpeakDelay ? setOf(kPctRpeakDelay) : 0U) |
      (byCardiacPhase ? setOf(kToshibaCardiacPhase) : 0U) |
      (byVolumeUID ? setOf(kToshibaVolumeUID) : 0U);
  const OrderAttributes a(*first, wanted);
  const OrderAttributes b(*second, wanted);

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
