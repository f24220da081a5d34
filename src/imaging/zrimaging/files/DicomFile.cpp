// SPDX-License-Identifier: BSD-3-Clause
// Loading: refuse what is no DICOM with a clear reason before DCMTK tries to make sense of it.
#include "zrimaging/files/DicomFile.h"

#include "zrimaging/Error.h"
#include "zrimaging/files/NestingGuard.h"
#include "zrimaging/texts/CharacterSet.h"

#include <zrdcmexport/ZrFrames.h>
#include <zrdcmexport/ZrNumbers.h>
#include <zrvolren/ExDicomUtilitiesHelpers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <system_error>

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

// A file without preamble begins with the first element of its dataset. Groups go upwards from
// 0002 (meta information) or 0008, and nothing that we can show begins behind the image groups.
bool beginsLikeDataset(const std::array<unsigned char, 132>& start) {
  constexpr unsigned kLastPlausibleGroup = 0x0028;
  const unsigned littleEndian = start[0] | static_cast<unsigned>(start[1]) << 8U;
  const unsigned bigEndian = start[1] | static_cast<unsigned>(start[0]) << 8U;
  const unsigned group = std::min(littleEndian, bigEndian);
  return group >= 0x0002 && group <= kLastPlausibleGroup && group % 2 == 0;
}

// Whether the preamble says DICOM; content that cannot be a dataset either is refused.
bool hasPreamble(const fs::path& path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) {
    throw Error(Reason::NotDicom, std::string("cannot be opened: ") + std::strerror(errno));
  }
  std::array<unsigned char, 132> start{};
  stream.read(reinterpret_cast<char*>(start.data()), static_cast<std::streamsize>(start.size()));
  if (stream.gcount() == 0) {
    throw Error(Reason::NotDicom, "is empty");
  }
  if (std::memcmp(start.data() + 128, "DICM", 4) == 0) {
    return true;
  }
  if (stream.gcount() < 8 || !beginsLikeDataset(start)) {
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

}  // namespace

DicomFile::DicomFile(const fs::path& path) : path_(path), format_(new DcmFileFormat) {
  refuseWhatIsNoFile(path);
  const bool saysDicom = hasPreamble(path);
  const HeaderScan headers = scanHeaders(path);
  if (headers.tooDeep) {
    throw Error(Reason::TooLarge, "nests sequences too deeply to be read safely");
  }
  if (headers.isDamagedMeta) {
    throw Error(Reason::Damaged, "is damaged: its meta information cannot be read");
  }
  const OFCondition loaded = format_->loadFile(OFFilename(path.c_str()), EXS_Unknown);
  if (loaded == EC_MemoryExhausted && headers.overlong.empty()) {
    throw Error(Reason::OutOfMemory, "out of memory");  // the file itself is whole
  }
  if (loaded.bad()) {
    throw Error(
        Reason::Damaged,
        std::string(saysDicom ? "is damaged: " : "is damaged or no DICOM file: ") +
            (headers.overlong.empty() ? std::string(loaded.text())
                                      : headers.overlong + ", more than the file has left"));
  }
  if (!saysDicom && !holdsKnownAttributes(dataset())) {
    throw Error(Reason::NotDicom, "is not a DICOM file");
  }
  frameCount_ = Zrg::numberOfFrames(dataset());
}

E_TransferSyntax DicomFile::transferSyntax() const {
  return dataset().getOriginalXfer();
}

std::string DicomFile::statedTransferSyntax() const {
  return textOf(*format_->getMetaInfo(), DCM_TransferSyntaxUID);
}

std::string textOf(DcmItem& item, const DcmTagKey& key) {
  DcmElement* element = nullptr;
  return item.findAndGetElement(key, element).good() ? firstUtf8Of(item, *element) : "";
}

std::size_t frameCount(DcmItem& item) {
  const int number = Zrg::intOf(textOf(item, DCM_NumberOfFrames)).value_or(0);
  const auto count = static_cast<std::uint16_t>(number);
  return count == 0 ? 1 : count;
}

std::string photometricInterpretation(const DicomFile& file) {
  KtString text;
  return ExDicomUtilities::getAndFixPhotometricInterpretation(&file.dataset(),
                                                              file.transferSyntax(), text)
             ? text.str()
             : std::string();
}

bool isMonochrome(const std::string& photometricInterpretation) {
  return photometricInterpretation == "MONOCHROME1" || photometricInterpretation == "MONOCHROME2";
}

}  // namespace zr
