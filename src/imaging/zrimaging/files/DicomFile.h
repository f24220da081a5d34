// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcfilefo.h"
#include "dcmtk/dcmdata/dcxfer.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>

namespace zr {

/// A DICOM file in memory; large values stay on disk until they are needed.
class DicomFile {
public:
  /// Reads the file, with or without preamble and meta information.
  /// @throws Error when it is no DICOM file or cannot be read.
  explicit DicomFile(const std::filesystem::path& path);

  DcmDataset& dataset() const { return *format_->getDataset(); }
  const std::filesystem::path& path() const { return path_; }

  /// The syntax that the file is stored in, also after its pixel data was decoded.
  E_TransferSyntax transferSyntax() const;

  /// Transfer Syntax UID (0002,0010) as the file states it; empty without meta information. DCMTK takes
  /// a syntax that it does not know for another one.
  std::string statedTransferSyntax() const;

  /// Frames that the file names, also after decoding cut their number to those that were found.
  std::size_t statedFrameCount() const { return frameCount_; }

private:
  std::filesystem::path path_;
  std::unique_ptr<DcmFileFormat> format_;
  std::size_t frameCount_ = 1;
};

/// Value 0 of an attribute as text, in UTF-8 whatever the file's character set; empty when it is
/// missing. Bytes that stand for no known character are escaped (CharacterSet).
std::string textOf(DcmItem& item, const DcmTagKey& key);

/// The number of frames as the library counts them: the low 16 bits of Number of Frames, 1 when
/// that is 0 or missing.
std::size_t frameCount(DcmItem& item);

/// Photometric Interpretation with its spelling repaired; empty when it is missing.
std::string photometricInterpretation(const DicomFile& file);

/// Whether the library decodes the image to one sample a pixel (MONOCHROME1 and MONOCHROME2).
bool isMonochrome(const std::string& photometricInterpretation);

}  // namespace zr
