// SPDX-License-Identifier: BSD-3-Clause
// A new image in three steps: attributes gathered, completed and tried one by one, then written by
// the library's writer through a file that appears when it is whole.
#include "zrimaging/Boundary.h"
#include "zrimaging/Export.h"
#include "zrimaging/export/ExportAttributes.h"
#include "zrimaging/output/LibraryFile.h"

#include <zrdcmexport/ZrDcmExport.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdatset.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <functional>
#include <random>
#include <utility>
#include <vector>

namespace zr {

namespace {

constexpr std::uint32_t kImageType = 0x00080008;
constexpr std::uint32_t kSopClassUid = 0x00080016;
constexpr std::uint32_t kSopInstanceUid = 0x00080018;
constexpr std::uint32_t kStudyInstanceUid = 0x0020000D;
constexpr std::uint32_t kSeriesInstanceUid = 0x0020000E;
constexpr const char* kSecondaryCapture = "1.2.840.10008.5.1.4.1.1.7";

std::size_t fileBytesOf(ExportType type) {
  return type == ExportType::kU8 ? 1 : 2;
}

/// A UID that nobody else has: a random UUID as a decimal number below 2.25 (PS3.5 annex B.2).
std::string freshUid() {
  std::array<std::uint32_t, 4> number{};
  std::random_device random;
  std::generate(number.begin(), number.end(), std::ref(random));
  number[1] = (number[1] & 0xFFFF0FFFU) | 0x00004000U;  // version 4, random
  number[2] = (number[2] & 0x3FFFFFFFU) | 0x80000000U;
  std::string digits;
  while (std::any_of(number.begin(), number.end(), [](std::uint32_t part) { return part != 0; })) {
    std::uint64_t rest = 0;
    for (std::uint32_t& part : number) {
      const std::uint64_t value = rest << 32U | part;
      part = static_cast<std::uint32_t>(value / 10);
      rest = value % 10;
    }
    digits += static_cast<char>('0' + rest);
  }
  std::reverse(digits.begin(), digits.end());
  return "2.25." + digits;
}

// A file of the same kind, made of it: PS3.3 C.7.6.1.1.2 asks this of the image type.
void markAsDerived(AttributeSet& attributes) {
  std::string imageType = attributes.text(kImageType);
  std::size_t end = imageType.find('\\');
  end = end == std::string::npos ? end : imageType.find('\\', end + 1);
  imageType = "DERIVED\\SECONDARY" + (end == std::string::npos ? "" : imageType.substr(end));
  attributes.set(kImageType, imageType);
  attributes.set(kSopInstanceUid, freshUid());
  attributes.set(kSeriesInstanceUid, freshUid());
}

/// An attribute that follows from the samples: filled in, or the same when the caller gave it.
void setOrCompare(AttributeSet& attributes, std::uint32_t tag, const std::string& text) {
  if (attributes.has(tag) && attributes.text(tag) != text) {
    throw Error(Reason::CannotWrite, attributes.byTag.at(tag).name + ": says " +
                                         attributes.text(tag) + ", but the samples make it " +
                                         text);
  }
  attributes.setDefault(tag, text);
}

}  // namespace

class NewImagePrivate {
public:
  NewImagePrivate(int columns, int rows, ExportType type)
      : columns_(columns), rows_(rows), type_(type) {}

  void requireSize() const {
    constexpr int kLongestSide = 65535;  // Rows and Columns are 16-bit numbers
    const std::uint64_t samples =
        static_cast<std::uint64_t>(columns_) * static_cast<std::uint64_t>(rows_);
    const bool fits =
        columns_ > 0 && columns_ <= kLongestSide && rows_ > 0 && rows_ <= kLongestSide;
    if (!fits) {
      throw Error(Reason::TooLarge, "no image has " + std::to_string(columns_) + " x " +
                                        std::to_string(rows_) + " samples");
    }
    if (samples > INT_MAX) {
      throw Error(Reason::TooLarge, "too many samples for one image: " + std::to_string(samples));
    }
  }

  void deriveFrom(DcmDataset& dataset) {
    attributes_ = exportAttributesOf(dataset, type_);
    markAsDerived(attributes_);
  }

  void addTags(const std::string& json, const std::string& name) {
    apply(attributes_, parseAttributes(json, name));
  }

  void complete() {
    describeSamples();
    attributes_.setDefault(kSopClassUid, kSecondaryCapture);
    for (const std::uint32_t uid : {kSopInstanceUid, kStudyInstanceUid, kSeriesInstanceUid}) {
      attributes_.setDefault(uid, freshUid());
    }
    requireWritable(attributes_, type_);
  }

  [[nodiscard]] std::size_t sampleBytes() const {
    return static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_) *
           fileBytesOf(type_);
  }

  void write(const std::filesystem::path& target, const void* samples, std::size_t size,
             const ProtectedInputs& inputs) const {
    if (size != sampleBytes()) {
      throw Error(Reason::CannotWrite, "cannot write " + target.string() + ": " +
                                           std::to_string(size) + " bytes of samples, where " +
                                           std::to_string(sampleBytes()) + " are needed");
    }
    // As they stand in the file, in whole 16-bit words; 8-bit samples lie two in a word.
    std::vector<unsigned short> words((size + 1) / 2);
    std::memcpy(words.data(), samples, size);
    ZrDcmExport writer;
    fillWriter(writer, attributes_);
    LibraryFile output(target, inputs);
    // The writer looks at the product alone, so words of two 8-bit samples need no other call.
    const bool written = writer.setOutputBaseDirectory(output.folder().c_str()) &&
                         writer.setFilename(output.name().c_str()) &&
                         writer.writeImageAsIs(static_cast<int>(words.size()), 1, words.data());
    if (!written) {
      throw Error(Reason::CannotWrite,
                  "cannot write " + target.string() + ": " + writer.lastError());
    }
    output.commit(words.size() * sizeof(unsigned short));
  }

  [[nodiscard]] const AttributeSet& attributes() const { return attributes_; }

private:
  void describeSamples() {
    const std::size_t bits = 8 * fileBytesOf(type_);
    setOrCompare(attributes_, 0x00280002, "1");
    setOrCompare(attributes_, 0x00280010, std::to_string(rows_));
    setOrCompare(attributes_, 0x00280011, std::to_string(columns_));
    setOrCompare(attributes_, 0x00280100, std::to_string(bits));
    setOrCompare(attributes_, 0x00280103, type_ == ExportType::kS16 ? "1" : "0");
    attributes_.setDefault(0x00280004, "MONOCHROME2");
    attributes_.setDefault(0x00280101, std::to_string(bits));
    attributes_.setDefault(0x00280102, std::to_string(bits - 1));
  }

  int columns_;
  int rows_;
  ExportType type_;
  AttributeSet attributes_;
};

NewImage::NewImage(int columns, int rows, ExportType type) {
  atBoundary([&] { private_ = std::make_unique<NewImagePrivate>(columns, rows, type); });
  private_->requireSize();
}

NewImage::~NewImage() = default;
NewImage::NewImage(NewImage&& other) noexcept = default;
NewImage& NewImage::operator=(NewImage&& other) noexcept = default;

void NewImage::deriveFrom(const File& file) {
  atBoundary([&] { private_->deriveFrom(file.dataset()); });
}

void NewImage::addTags(const std::string& json, const std::string& name) {
  atBoundary([&] { private_->addTags(json, name); });
}

void NewImage::complete() {
  atBoundary([&] { private_->complete(); });
}

std::size_t NewImage::sampleBytes() const {
  return private_->sampleBytes();
}

void NewImage::write(const std::filesystem::path& target, const void* samples, std::size_t size,
                     const ProtectedInputs& inputs) const {
  atBoundary([&] { private_->write(target, samples, size, inputs); });
}

std::string NewImage::text(std::uint16_t group, std::uint16_t element) const {
  return atBoundary([&] {
    return private_->attributes().text(static_cast<std::uint32_t>(group) << 16U | element);
  });
}

}  // namespace zr
