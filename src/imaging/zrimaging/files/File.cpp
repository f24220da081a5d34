// SPDX-License-Identifier: BSD-3-Clause
// Reading: what is no DICOM is refused with a clear reason before DCMTK tries to make sense of it.
// A file and bytes in memory take the same road.
#include "zrimaging/File.h"

#include "zrimaging/Boundary.h"
#include "zrimaging/files/CodecRegistration.h"
#include "zrimaging/files/NestingGuard.h"
#include "zrimaging/files/ScannedReading.h"

#include <zrdcmexport/ZrFrames.h>
#include <zrvolren/ExDicomUtilitiesHelpers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcistrmb.h"
#include "dcmtk/dcmdata/dcistrmf.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <span>
#include <system_error>
#include <vector>

namespace zr {

namespace {

namespace fs = std::filesystem;

void refuseWhatIsNoFile(const fs::path& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (status.type() == fs::file_type::not_found) {
    throw Error(Reason::NotDicom, "does not exist");
  }
  if (error) {
    throw Error(Reason::NotDicom, "cannot be opened: " + error.message());
  }
  if (fs::is_directory(status)) {
    throw Error(Reason::NotDicom, "is a folder, not a DICOM file");
  }
  if (!fs::is_regular_file(status)) {
    throw Error(Reason::NotDicom, "is no regular file");
  }
}

/// The bytes that a file begins with; zeros behind its end.
struct Beginning {
  std::array<unsigned char, 132> bytes{};
  std::size_t count = 0;
};

Beginning beginningOf(const fs::path& path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) {
    throw Error(Reason::NotDicom, std::string("cannot be opened: ") + std::strerror(errno));
  }
  Beginning start;
  stream.read(reinterpret_cast<char*>(start.bytes.data()),
              static_cast<std::streamsize>(start.bytes.size()));
  start.count = static_cast<std::size_t>(stream.gcount());
  return start;
}

Beginning beginningOf(std::span<const unsigned char> bytes) {
  Beginning start;
  start.count = std::min(bytes.size(), start.bytes.size());
  std::copy_n(bytes.begin(), start.count, start.bytes.begin());
  return start;
}

// A file without preamble begins with the first element of its dataset. Groups go upwards from
// 0002 (meta information) or 0008, and nothing that we can show begins behind the image groups.
bool beginsLikeDataset(const Beginning& start) {
  constexpr unsigned kLastPlausibleGroup = 0x0028;
  const unsigned littleEndian = start.bytes[0] | static_cast<unsigned>(start.bytes[1]) << 8U;
  const unsigned bigEndian = start.bytes[1] | static_cast<unsigned>(start.bytes[0]) << 8U;
  const unsigned group = std::min(littleEndian, bigEndian);
  return group >= 0x0002 && group <= kLastPlausibleGroup && group % 2 == 0;
}

// Whether the preamble says DICOM; content that cannot be a dataset either is refused.
bool hasPreamble(const Beginning& start) {
  if (start.count == 0) {
    throw Error(Reason::NotDicom, "is empty");
  }
  if (std::memcmp(start.bytes.data() + 128, "DICM", 4) == 0) {
    return true;
  }
  if (start.count < 8 || !beginsLikeDataset(start)) {
    throw Error(Reason::NotDicom, "is not a DICOM file");
  }
  return false;
}

// Bytes that only look like elements at the start parse into elements that nobody knows.
bool holdsKnownAttributes(DcmDataset& dataset) {
  for (unsigned long i = 0; i < dataset.card(); ++i) {
    const DcmTag& tag = dataset.getElement(i)->getTag();
    const bool known = !DcmTag(tag.getGroup(), tag.getElement()).isUnknownVR();
    if (known && tag.getElement() != 0 && tag.getGroup() >= 0x0008) {
      return true;
    }
  }
  return false;
}

[[noreturn]] void refuseTooLarge(const std::string& takes, const MemoryBudget& memory) {
  throw Error(Reason::TooLarge, takes + "; " + memory.name + " allows " + sizeText(memory.bytes));
}

void refuseWhatDoesHarm(const HeaderScan& headers, const MemoryBudget& memory) {
  if (headers.tooDeep) {
    throw Error(Reason::TooLarge, "nests sequences too deeply to be read safely");
  }
  if (headers.isDamagedMeta) {
    throw Error(Reason::Damaged, "is damaged: its meta information cannot be read");
  }
  if (headers.inflatesBeyondLimit) {
    refuseTooLarge("takes more than " + sizeText(memory.bytes) + " once it is inflated", memory);
  }
}

/// What users should know of the way in which a file was read.
std::vector<std::string> remarksOn(const HeaderScan& headers, const Reading& reading,
                                   DcmFileFormat& format) {
  std::vector<std::string> remarks;
  const E_TransferSyntax actual = headers.actualSyntax.value_or(EXS_Unknown);
  const DcmXfer stated(textOf(*format.getMetaInfo(), DCM_TransferSyntaxUID).c_str());
  if (actual != EXS_Unknown && DcmXfer(actual).isExplicitVR() != stated.isExplicitVR()) {
    remarks.push_back(
        std::string("states transfer syntax ") + stated.getXferName() + ", but is written in " +
        (actual == EXS_LittleEndianImplicit ? "implicit" : "explicit") + " VR: read as it is");
  }
  if (reading.leftOutTheRest) {
    remarks.emplace_back("has bytes behind its pixel data that are no whole element: left out");
  }
  return remarks;
}

/// Lets DCMTK read.
/// @param remarks receives what users should know
std::unique_ptr<DcmFileFormat> readGuarded(bool saysDicom, const HeaderScan& headers,
                                           const MemoryBudget& memory, DcmInputStream& stream,
                                           std::vector<std::string>& remarks) {
  refuseWhatDoesHarm(headers, memory);
  auto format = std::make_unique<DcmFileFormat>();
  const Reading reading = readAsScanned(*format, stream, headers);
  if (reading.status == EC_MemoryExhausted && headers.overlong.empty()) {
    throw Error(Reason::OutOfMemory, "out of memory");  // the file itself is whole
  }
  if (reading.status.bad()) {
    throw Error(
        Reason::Damaged,
        std::string(saysDicom ? "is damaged: " : "is damaged or no DICOM file: ") +
            (headers.overlong.empty() ? std::string(reading.status.text())
                                      : headers.overlong + ", more than the file has left"));
  }
  if (!saysDicom && !holdsKnownAttributes(*format->getDataset())) {
    throw Error(Reason::NotDicom, "is not a DICOM file");
  }
  remarks = remarksOn(headers, reading, *format);
  letCodecsDecode(*format);
  return format;
}

}  // namespace

File::File() = default;
File::~File() = default;
File::File(File&& other) noexcept = default;
File& File::operator=(File&& other) noexcept = default;

File::File(const fs::path& path, const MemoryBudget& memory) {
  atBoundary([&] {
    path_ = path;
    refuseWhatIsNoFile(path);
    const bool saysDicom = hasPreamble(beginningOf(path));
    const HeaderScan headers = scanHeaders(path, {kDeepestNesting, memory.bytes});
    DcmInputFileStream stream(OFFilename(path.c_str()));
    if (stream.status().bad()) {
      throw Error(Reason::NotDicom, std::string("cannot be opened: ") + stream.status().text());
    }
    format_ = readGuarded(saysDicom, headers, memory, stream, remarks_);
    frameCount_ = Zrg::numberOfFrames(dataset());
  });
}

File File::fromBytes(const void* bytes, std::size_t size, const MemoryBudget& memory) {
  return atBoundary([&] {
    if (size > memory.bytes) {
      refuseTooLarge("takes " + sizeText(size), memory);
    }
    const std::span content(static_cast<const unsigned char*>(bytes), size);
    const bool saysDicom = hasPreamble(beginningOf(content));
    File file;
    const HeaderScan headers = scanHeaders(content, {kDeepestNesting, memory.bytes});
    DcmInputBufferStream stream;
    stream.setBuffer(content.data(), static_cast<offile_off_t>(content.size()));
    stream.setEos();
    file.format_ = readGuarded(saysDicom, headers, memory, stream, file.remarks_);
    file.frameCount_ = Zrg::numberOfFrames(file.dataset());
    return file;
  });
}

DcmDataset& File::dataset() const {
  return *format_->getDataset();
}

std::string File::statedTransferSyntax() const {
  return textOf(*format_->getMetaInfo(), DCM_TransferSyntaxUID);
}

AttributeText File::text(const AttributePath& path, std::optional<WordType> words) const {
  return readText(dataset(), path, words);
}

std::string File::photometricInterpretation() const {
  return atBoundary([&] {
    KtString text;
    return ExDicomUtilities::getAndFixPhotometricInterpretation(&dataset(),
                                                                dataset().getOriginalXfer(), text)
               ? text.str()
               : std::string();
  });
}

}  // namespace zr
