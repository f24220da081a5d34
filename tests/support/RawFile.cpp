// SPDX-License-Identifier: BSD-3-Clause
#include "support/RawFile.h"

#include "support/Compression.h"
#include "support/Files.h"
#include "support/TempDir.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <cstddef>

namespace support {

std::string littleEndian(std::uint32_t value, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) {
    text += static_cast<char>(value >> (8 * i) & 0xFFU);
  }
  return text;
}

std::string encapsulated(const std::vector<std::string>& fragments) {
  std::string bytes = littleEndian(0x00107FE0, 4) + std::string("OB\0\0", 4) +
                      littleEndian(0xFFFFFFFF, 4) + littleEndian(0xE000FFFE, 4) +
                      littleEndian(0, 4);
  for (const std::string& fragment : fragments) {
    bytes += littleEndian(0xE000FFFE, 4) +
             littleEndian(static_cast<std::uint32_t>(fragment.size()), 4) + fragment;
  }
  return bytes + littleEndian(0xE0DDFFFE, 4) + littleEndian(0, 4);
}

std::string fileOf(const ImageBuilder& image, std::string syntax, const std::string& pixelData) {
  const TempDir folder;
  ImageBuilder header = image;
  const auto dataset = header.build();
  (void)dataset->findAndDeleteElement(DCM_PixelData);  // may be missing already
  saveFile(*dataset, folder.file("header.dcm"));
  const std::string whole = readFile(folder.file("header.dcm"));
  constexpr std::size_t kMeta = 132;
  const auto metaLength = static_cast<unsigned char>(whole[kMeta + 8]) +
                          256U * static_cast<unsigned char>(whole[kMeta + 9]);
  syntax += syntax.size() % 2 == 0 ? "" : std::string(1, '\0');
  const std::string element = littleEndian(0x00100002, 4) + "UI" +
                              littleEndian(static_cast<std::uint32_t>(syntax.size()), 2) + syntax;
  return whole.substr(0, kMeta) + littleEndian(0x00000002, 4) + "UL" + littleEndian(4, 2) +
         littleEndian(static_cast<std::uint32_t>(element.size()), 4) + element +
         whole.substr(kMeta + 12 + metaLength) + pixelData;
}

}  // namespace support
