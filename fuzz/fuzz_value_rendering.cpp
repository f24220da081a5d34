// SPDX-License-Identifier: BSD-3-Clause
// Binary values as text: any tag, VR and length. Text of unknown elements is the bytes themselves;
// numbers of a word element are as many as the value holds and, where they are integers, read back
// as the same words.
#include "FuzzDataset.h"

#include <zrdcmexport/ExDCM.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

using fuzz::Input;
using fuzz::require;

void checkText(Input& input) {
  static const std::array<DcmEVR, 4> vrs = {EVR_UN, EVR_UNKNOWN, EVR_OB, EVR_OW};
  const Uint16 group = input.word();
  DcmTag tag(group, input.word());
  if (input.flag()) {
    static const std::array<const char*, 4> creators = {"Zorlan", "Philips MR Imaging DD 001",
                                                        "TOSHIBA_MEC_CT3", "nobody"};
    tag.setPrivateCreator(creators.at(input.below(4)));
  }
  tag.setVR(vrs.at(input.below(4)));
  DcmOtherByteOtherWord element(tag);
  std::vector<Uint8> bytes = input.rest();
  bytes.resize(bytes.size() + bytes.size() % 2);
  (void)element.putUint8Array(bytes.data(), static_cast<unsigned long>(bytes.size()));
  std::string text = "old";
  if (!ExDCM::getOFStringFromUN(&element, text)) {
    require(text.empty());
    return;
  }
  require(std::equal(text.begin(), text.end(), bytes.begin(), bytes.end(),
                     [](char a, Uint8 b) { return static_cast<Uint8>(a) == b; }));
}

void checkIntegers(const std::string& text, const std::vector<Uint16>& words, int valueType) {
  const char* cursor = text.c_str();
  const std::size_t wordsOfNumber = valueType == 4 ? 2 : 1;
  for (std::size_t i = 0; i + wordsOfNumber <= words.size(); i += wordsOfNumber) {
    char* end = nullptr;
    const auto number = static_cast<Uint32>(std::strtol(cursor, &end, 10));
    const Uint32 high = wordsOfNumber == 2 ? words[i + 1] : (number >> 16U);
    require(end != cursor && number == (high << 16U | words[i]));
    cursor = *end == '\\' ? end + 1 : end;
  }
  require(*cursor == '\0');
}

void checkNumbers(Input& input) {
  static const std::array<std::size_t, 5> sizes = {2, 2, 4, 8, 4};
  const int valueType = static_cast<int>(input.below(7)) - 1;
  const bool isWords = input.flag();
  DcmOtherByteOtherWord element(DcmTag(0x7fe1, 0x1001, isWords ? EVR_OW : EVR_OB));
  const std::vector<Uint8> bytes = input.rest();
  std::vector<Uint16> words(bytes.size() / 2);
  std::copy_n(bytes.begin(), 2 * words.size(), reinterpret_cast<Uint8*>(words.data()));
  // DCMTK refuses words for OB; the element then stays empty.
  (void)element.putUint16Array(words.data(), static_cast<unsigned long>(words.size()));
  std::string text = "old";
  if (!ExDCM::getOFStringFromOBOW(&element, valueType, text)) {
    require(text.empty() && !(isWords && valueType >= 0 && valueType <= 4));
    return;
  }
  if (!isWords) {
    return;
  }
  const std::size_t count = 2 * words.size() / sizes.at(static_cast<std::size_t>(valueType));
  const auto separators = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\\'));
  require(text.empty() == (count == 0) && (count == 0 || separators == count - 1));
  if (valueType != 2 && valueType != 3) {
    checkIntegers(text, words, valueType);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ExDCM::registerPrivateDicomTags();
  Input input(data, size);
  if (input.flag()) {
    checkText(input);
  } else {
    checkNumbers(input);
  }
  return 0;
}
