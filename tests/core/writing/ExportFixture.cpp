// SPDX-License-Identifier: BSD-3-Clause
#include "core/writing/ExportFixture.h"

#include <array>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace exporting {

namespace {

using Attributes = std::vector<std::pair<const char*, const char*>>;

/// Patient, General Study, General Series (a body part that is not paired needs no
/// laterality), General Equipment, SOP Common; PS3.3 C.7, C.12.1.
const Attributes& commonAttributes() {
  static const Attributes attributes = {
      {"G0008-0005", "ISO_IR 100"},
      {"G0008-0018", "2.25.1.2.3"},
      {"G0008-0020", "20200102"},
      {"G0008-0030", "101112"},
      {"G0008-0050", "A1"},
      {"G0008-0070", "Maker"},
      {"G0008-0090", ""},
      {"G0010-0010", "Doe^John"},
      {"G0010-0020", "P1"},
      {"G0010-0030", "19700101"},
      {"G0010-0040", "M"},
      {"G0018-0015", "HEAD"},
      {"G0020-000d", "2.25.1.2"},
      {"G0020-000e", "2.25.1.2.1"},
      {"G0020-0010", "S1"},
      {"G0020-0011", "1"},
      {"G0020-0013", "7"},
      // Image Pixel, C.7.6.3
      {"G0028-0002", "1"},
      {"G0028-0004", "MONOCHROME2"},
      {"G0028-0010", "3"},
      {"G0028-0011", "4"},
      {"G0028-0100", "16"},
      {"G0028-0101", "16"},
      {"G0028-0102", "15"},
      {"G0028-0103", "0"},
  };
  return attributes;
}

/// Frame of Reference and Image Plane, C.7.4.1 and C.7.6.2.
const Attributes& planeAttributes() {
  static const Attributes attributes = {
      {"G0018-0050", "2"},
      {"G0020-0032", "-10.5\\20\\30"},
      {"G0020-0037", "1\\0\\0\\0\\1\\0"},
      {"G0020-0052", "2.25.1.2.9"},
      {"G0020-1040", ""},
      {"G0020-0012", "1"},
      {"G0028-0030", "0.5\\0.75"},
  };
  return attributes;
}

void describe(ZrDcmExportPrivate& writer, const Attributes& attributes) {
  for (const auto& [key, value] : attributes) {
    if (!writer.setDicomTag(key, value)) {
      throw std::runtime_error(std::string("cannot set ") + key);
    }
  }
}

}  // namespace

std::vector<std::uint16_t> twelveSamples() {
  return {0, 1, 2, 255, 256, 257, 32767, 32768, 32769, 65534, 65535, 4095};
}

ZrDcmExportPrivate emptyWriter(const std::filesystem::path& directory) {
  ZrDcmExportPrivate writer;
  writer.outputBaseDirectory = directory.string();
  writer.filename = "image.dcm";
  return writer;
}

ZrDcmExportPrivate secondaryCaptureWriter(const std::filesystem::path& directory) {
  ZrDcmExportPrivate writer = emptyWriter(directory);
  describe(writer, commonAttributes());
  describe(writer, {{"G0008-0016", "1.2.840.10008.5.1.4.1.1.7"},
                    {"G0008-0060", "OT"},
                    {"G0008-0064", "WSD"},
                    {"G0020-0020", ""}});
  return writer;
}

ZrDcmExportPrivate ctWriter(const std::filesystem::path& directory) {
  ZrDcmExportPrivate writer = emptyWriter(directory);
  describe(writer, commonAttributes());
  describe(writer, planeAttributes());
  describe(writer, {{"G0008-0008", "DERIVED\\SECONDARY\\AXIAL"},
                    {"G0008-0016", "1.2.840.10008.5.1.4.1.1.2"},
                    {"G0008-0060", "CT"},
                    {"G0018-0060", "120"},
                    {"G0018-5100", "HFS"},
                    {"G0028-1052", "-1024"},
                    {"G0028-1053", "1"},
                    {"G0028-1054", "HU"}});
  return writer;
}

ZrDcmExportPrivate mrWriter(const std::filesystem::path& directory) {
  ZrDcmExportPrivate writer = emptyWriter(directory);
  describe(writer, commonAttributes());
  describe(writer, planeAttributes());
  describe(writer, {{"G0008-0008", "DERIVED\\SECONDARY\\OTHER"},
                    {"G0008-0016", "1.2.840.10008.5.1.4.1.1.4"},
                    {"G0008-0060", "MR"},
                    {"G0018-0020", "SE"},
                    {"G0018-0021", "NONE"},
                    {"G0018-0022", ""},
                    {"G0018-0023", "2D"},
                    {"G0018-0080", "500"},
                    {"G0018-0081", "15"},
                    {"G0018-0091", "1"},
                    {"G0018-5100", "HFS"}});
  return writer;
}

std::unique_ptr<DcmFileFormat> load(const std::filesystem::path& file) {
  auto content = std::make_unique<DcmFileFormat>();
  const OFCondition loaded = content->loadFile(file.c_str());
  if (loaded.bad() || content->loadAllDataIntoMemory().bad()) {
    throw std::runtime_error(file.string() + ": " + loaded.text());
  }
  return content;
}

std::string textOf(DcmItem& item, const DcmTagKey& key) {
  OFString text;
  return item.findAndGetOFStringArray(key, text).good() ? text : "(missing)";
}

std::vector<std::uint16_t> samplesOf(DcmItem& item) {
  const Uint16* values = nullptr;
  unsigned long count = 0;
  if (item.findAndGetUint16Array(DCM_PixelData, values, &count).bad() || values == nullptr) {
    return {};
  }
  return {values, values + count};
}

CommandResult run(const std::string& command) {
  std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) {
    throw std::runtime_error("cannot run " + command);
  }
  std::string output;
  std::array<char, 4096> part{};
  std::size_t length = 0;
  while ((length = std::fread(part.data(), 1, part.size(), pipe)) > 0) {
    output.append(part.data(), length);
  }
  return {pclose(pipe), output};
}

bool isInstalled(const std::string& program) {
  return run("command -v " + program).status == 0;
}

}  // namespace exporting
