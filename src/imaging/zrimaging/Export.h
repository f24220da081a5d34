// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <zrimaging/Error.h>
#include <zrimaging/File.h>
#include <zrimaging/Output.h>
#include <zrimaging/ZrimagingApi.h>

namespace zr {

class NewImagePrivate;

/// What the samples of a new image are: one a pixel, of 8 or 16 bits.
enum class ExportType : std::uint8_t { kU8, kU16, kS16 };

/// A new monochrome image of one frame: its attributes, gathered from a file and from the caller,
/// and then its samples, written as a DICOM file.
///
///     zr::NewImage image(512, 200, zr::ExportType::kU16);
///     image.deriveFrom(zr::File("ct.dcm"));
///     image.addTags(R"({"SeriesDescription": "coronal"})");
///     image.complete();
///     image.write("coronal.dcm", samples, 2 * 512 * 200, zr::ProtectedInputs({"ct.dcm"}));
///
/// Attributes at fault are found before anything is written.
class ZRIMAGING_API NewImage {
public:
  /// `columns` and `rows` are 1 to 65535.
  /// @throws Error TooLarge for more samples than fit a file, or a size that no attribute holds
  NewImage(int columns, int rows, ExportType type);
  ~NewImage();
  NewImage(NewImage&& other) noexcept;
  NewImage& operator=(NewImage&& other) noexcept;

  /// Begins with the attributes of a file that have a text form and can be written again, as an
  /// image derived from it (PS3.3 C.7.6.1.1.2): Image Type `DERIVED\SECONDARY`, SOP Instance and
  /// Series Instance UIDs of its own. Left out is what belongs to the old image alone: its samples,
  /// their layout, their lookup tables and extremes, the frames, overlays, and everything private.
  void deriveFrom(const File& file);

  /// Puts attributes over those that are there.
  /// @param json an object in UTF-8 of keywords ("PatientName") or keys ("G0010-0010") to texts, or
  ///             to lists of such objects for sequences; several values are separated by
  ///             backslashes
  /// @param name what errors call the text, such as the name of its file; empty for nothing
  /// @throws Error CannotWrite that names the key at fault
  void addTags(const std::string& json, const std::string& name = "");

  /// Fills in what follows from the samples and what every file has: SOP Class (Secondary Capture
  /// when nothing else is said) and missing UIDs. Then every attribute is tried.
  /// @throws Error CannotWrite that names the attribute that cannot be written, or contradicts the
  ///         samples
  void complete();

  /// Bytes that the samples take.
  [[nodiscard]] std::size_t sampleBytes() const;

  /// Writes the image, which must be complete; the file appears when it is whole.
  /// `samples` come row by row, little endian, without padding; they are copied.
  /// `size` must be sampleBytes().
  /// @throws Error CannotWrite, OutOfMemory
  void write(const std::filesystem::path& target, const void* samples, std::size_t size,
             const ProtectedInputs& inputs) const;

  /// The value of an attribute that the file is to have; empty without it.
  [[nodiscard]] std::string text(std::uint16_t group, std::uint16_t element) const;

private:
  std::unique_ptr<NewImagePrivate> private_;
};

}  // namespace zr
