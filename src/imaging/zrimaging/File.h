// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>
#include <zrimaging/Attribute.h>
#include <zrimaging/Error.h>
#include <zrimaging/MemoryBudget.h>
#include <zrimaging/ZrimagingApi.h>

class DcmDataset;
class DcmFileFormat;

namespace zr {

/// A DICOM file that was read, from the disk or from memory (PS3.10 section 7): with or without
/// preamble and meta information, in any transfer syntax that DCMTK reads.
///
/// Before DCMTK reads a file its headers are looked at, so that a file that was made to do harm is
/// refused with an Error: one that nests sequences more than 64 deep, claims lengths that it does
/// not have, begins with damaged meta information, or inflates to more than the budget allows.
///
/// Elements of implicit VR get the VRs that DCMTK's dictionary has when the file is read; the
/// private ones are known once ExDCM::registerPrivateDicomTags() was called.
///
/// Different files may be read by different threads at a time. One file is for one thread.
class ZRIMAGING_API File {
public:
  /// Reads a file. Its large values stay on the disk until they are needed.
  /// @throws Error NotDicom, Damaged, TooLarge or OutOfMemory; the text does not name the file
  explicit File(const std::filesystem::path& path, const MemoryBudget& memory = {});

  /// Reads what would be the bytes of a file. They are copied as far as they are needed, and may go
  /// away afterwards.
  /// `bytes` may be null where `size` is 0.
  /// @throws Error as above, and TooLarge for more bytes than the budget allows
  static File fromBytes(const void* bytes, std::size_t size, const MemoryBudget& memory = {});

  ~File();
  File(File&& other) noexcept;
  File& operator=(File&& other) noexcept;

  /// The dataset, which is the file's. Decoding may rewrite its attributes.
  [[nodiscard]] DcmDataset& dataset() const;

  /// As it was handed in; empty for bytes.
  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

  /// What users should know of the way in which the file was read: lines such as "has bytes behind
  /// its pixel data that are no whole element: left out". Empty for files that are in order.
  [[nodiscard]] const std::vector<std::string>& remarks() const { return remarks_; }

  /// Transfer Syntax UID (0002,0010) as the file states it, without padding; empty without meta
  /// information. DCMTK takes a syntax that it does not know for another one.
  [[nodiscard]] std::string statedTransferSyntax() const;

  /// Number of Frames (0028,0008) as the file states it, 1 without it; also after decoding, which
  /// may cut the attribute to the number of frames that were found.
  [[nodiscard]] std::size_t statedFrameCount() const { return frameCount_; }

  /// Photometric Interpretation (0028,0004) with its spelling repaired; empty when it is missing.
  [[nodiscard]] std::string photometricInterpretation() const;

  /// The value of an element as text in UTF-8; see readText().
  /// @throws Error as readText()
  [[nodiscard]] AttributeText text(const AttributePath& path,
                                   std::optional<WordType> words = std::nullopt) const;

private:
  File();

  std::filesystem::path path_;
  std::unique_ptr<DcmFileFormat> format_;
  std::vector<std::string> remarks_;
  std::size_t frameCount_ = 1;
};

}  // namespace zr
