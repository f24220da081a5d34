// SPDX-License-Identifier: BSD-3-Clause
// Binary values as text: any tag, VR and length. Text of unknown elements is the bytes themselves;
// numbers of a word element are as many as the value holds and, where they are integers, read back
// as the same words.
#include "FuzzDataset.h"

#include <zrdcmexport/ExDCM.h>

#include <algorithm>
#include <cstdlib>

namespace {

void checkText(FuzzedDataProvider& input) {
  static const std::array<DcmEVR, 4> vrs = {EVR_UN, EVR_UNKNOWN, EVR_OB, EVR_OW};
  DcmTag tag(input.ConsumeIntegral<Uint16>(), input.ConsumeIntegral<Uint16>());
  if (input.ConsumeBool()) {
    static const std::array<const char*, 4> creators = {"Zorlan", "Philips MR Imaging DD 001",
                                                        "TOSHIBA_MEC_CT3", "nobody"};
    tag.setPrivateCreator(creators.at(input.ConsumeIntegralInRange<std::size_t>(0, 3)));
  }
  tag.setVR(vrs.at(input.ConsumeIntegralInRange<std::size_t>(0, 3)));
  DcmOtherByteOtherWord element(tag);
  std::vector<Uint8> bytes = input.ConsumeRemainingBytes<Uint8>();
  bytes.resize(bytes.size() + bytes.size() % 2);
  (void)element.putUint8Array(bytes.data(), static_cast<unsigned long>(bytes.size()));
  std::string text = "old";
  if (!ExDCM::getOFStringFromUN(&element, text)) {
    if (!text.empty()) {
      std::abort();
    }
  } else if (!std::equal(text.begin(), text.end(), bytes.begin(), bytes.end(),
                         [](char a, Uint8 b) { return static_cast<Uint8>(a) == b; })) {
    std::abort();
  }
}

void checkIntegers(const std::string& text, const std::vector<Uint16>& words, int valueType) {
  const char* cursor = text.c_str();
  const std::size_t wordsOfNumber = valueType == 4 ? 2 : 1;
  for (std::size_t i = 0; i + wordsOfNumber <= words.size(); i += wordsOfNumber) {
    char* end = nullptr;
    const auto number = static_cast<Uint32>(std::strtol(cursor, &end, 10));
    const Uint32 high = wordsOfNumber == 2 ? words[i + 1] : (number >> 16U);
    if (end == cursor || number != (high << 16U | words[i])) {
      std::abort();
    }
    cursor = *end == '\\' ? end + 1 : end;
  }
  if (*cursor != '\0') {
    std::abort();
  }
}

void checkNumbers(FuzzedDataProvider& input) {
  static const std::array<std::size_t, 5> sizes = {2, 2, 4, 8, 4};
  const int valueType = input.ConsumeIntegralInRange<int>(-1, 5);
  const bool isWords = input.ConsumeBool();
  DcmOtherByteOtherWord element(DcmTag(0x7fe1, 0x1001, isWords ? EVR_OW : EVR_OB));
  const std::vector<Uint8> bytes = input.ConsumeRemainingBytes<Uint8>();
  std::vector<Uint16> words(bytes.size() / 2);
  std::copy_n(bytes.begin(), 2 * words.size(), reinterpret_cast<Uint8*>(words.data()));
  // DCMTK refuses words for OB; the element then stays empty.
  (void)element.putUint16Array(words.data(), static_cast<unsigned long>(words.size()));
  std::string text = "old";
  if (!ExDCM::getOFStringFromOBOW(&element, valueType, text)) {
    if (!text.empty() || (isWords && valueType >= 0 && valueType <= 4)) {
      std::abort();
    }
    return;
  }
  if (!isWords) {
    return;
  }
  const std::size_t count = 2 * words.size() / sizes.at(static_cast<std::size_t>(valueType));
  const auto separators = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\\'));
  if (text.empty() != (count == 0) || (count > 0 && separators != count - 1)) {
    std::abort();
  }
  if (valueType != 2 && valueType != 3) {
    checkIntegers(text, words, valueType);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::silenceDcmtk();
  ExDCM::registerPrivateDicomTags();
  FuzzedDataProvider input(data, size);
  if (input.ConsumeBool()) {
    checkText(input);
  } else {
    checkNumbers(input);
  }
  return 0;
}
