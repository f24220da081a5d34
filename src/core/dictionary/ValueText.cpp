// SPDX-License-Identifier: BSD-3-Clause
//
// Binary element values as text: raw bytes whose real VR the dictionary knows to be text, and words
// as lists of numbers. What the dictionary knows beyond DCMTK's own entries is put there by
// ExDCM.cpp.

#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctag.h"
#include "dcmtk/dcmdata/dcvr.h"
#include "dcmtk/dcmdata/dcvrobow.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <locale>
#include <sstream>

namespace ExDCM {

namespace {

// Deliberate: AE is not among them. Test: RefusedVR.GivesNoTextAndIsKept
bool isTextVR(DcmEVR vr) {
  switch (vr) {
    case EVR_AS:
    case EVR_CS:
    case EVR_DA:
    case EVR_DS:
    case EVR_DT:
    case EVR_IS:
    case EVR_LO:
    case EVR_LT:
    case EVR_PN:
    case EVR_SH:
    case EVR_ST:
    case EVR_TM:
    case EVR_UI:
    case EVR_UT:
      return true;
    default:
      return false;
  }
}

// Gives the element the VR that the dictionary knows for it, and yields that VR's tag.
DcmTag adoptVRFromDictionary(DcmOtherByteOtherWord& element) {
  DcmTag tag = element.getTag();
  tag.lookupVRinDictionary();
  // DCMTK casts elements that call themselves a sequence to its sequence class, which this one is
  // not.
  if (tag.getEVR() != EVR_SQ) {
    (void)element.setVR(tag.getEVR());  // always good for this class: it stores what it is given
  }
  return tag;
}

template <class Number>
std::string joinNumbers(const Uint16* words, std::size_t valueBytes) {
  const std::size_t count = valueBytes / sizeof(Number);
  std::ostringstream stream;
  // A stream keeps to itself that it found no memory, and yields the numbers until then.
  stream.exceptions(std::ios::badbit);
  // The host's locale may group digits or write a decimal comma.
  stream.imbue(std::locale::classic());
  for (std::size_t i = 0; i < count; ++i) {
    Number number;
    std::memcpy(&number, reinterpret_cast<const unsigned char*>(words) + i * sizeof(Number),
                sizeof(Number));
    if (i > 0) {
      stream << '\\';
    }
    stream << number;
  }
  return stream.str();
}

}  // namespace

bool getOFStringFromUN(DcmOtherByteOtherWord* element, std::string& text) {
  text.clear();
  if (!element->getTag().isUnknownVR() && element->getTag().getPrivateCreator() == nullptr) {
    return false;
  }
  const DcmTag tag = adoptVRFromDictionary(*element);
  if (tag.isUnknownVR()) {
    return false;
  }
  const Uint32 valueBytes = element->getLength();
  // Lengths are compared as signed numbers: a value of 2 GiB and more is not taken for a text.
  if (static_cast<Sint32>(valueBytes) < 1) {
    return false;
  }
  Uint8* bytes = nullptr;
  if (element->getUint8Array(bytes).bad() || bytes == nullptr || !isTextVR(tag.getEVR())) {
    return false;
  }
  text.assign(bytes, bytes + valueBytes);
  return true;
}

bool getOFStringFromOBOW(DcmOtherByteOtherWord* element, int valueType, std::string& text) {
  text.clear();
  if (valueType < 0 || valueType > 4) {
    return false;
  }
  // DCMTK's getters for the other number types do not exist for word elements: all numbers are put
  // together from the words.
  Uint16* words = nullptr;
  if (element->getUint16Array(words).bad()) {
    return false;
  }
  const std::size_t valueBytes = words != nullptr ? element->getLength() : 0;
  switch (valueType) {
    case 0:
      text = joinNumbers<std::uint16_t>(words, valueBytes);
      break;
    case 1:
      text = joinNumbers<std::int16_t>(words, valueBytes);
      break;
    case 2:
      text = joinNumbers<float>(words, valueBytes);
      break;
    case 3:
      text = joinNumbers<double>(words, valueBytes);
      break;
    default:
      text = joinNumbers<std::int32_t>(words, valueBytes);
      break;
  }
  return true;
}

}  // namespace ExDCM
