// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrdcmexport/ZrdcmexportApi.h>

#include <cstdint>
#include <memory>
#include <optional>

class DcmItem;

/// Monochrome samples as they are stored, and what is made of them: from memory into memory, for
/// those who take frames by number. SliceImage::process does it where its samples are.
namespace Zrg {

/// Where the bits of integer samples stand in their containers. @see PS3.5 8.1.1 (Pixel Data
/// Encoding)
struct StoredSamples {
  unsigned int bytesPerSample = 2;  ///< of a container: 1, 2 or 4
  unsigned int bitsStored = 16;     ///< 0: none, every sample is 0
  unsigned int highBit = 15;        ///< 0-based; the highest stored bit
  bool isSigned = false;            ///< two's complement
};

/// Reads Bits Stored, High Bit and Pixel Representation, cut to what fits into the containers. A
/// High Bit that is missing is the highest bit, Bits Stored that is missing is 0. The item is only
/// read.
///
/// SliceImage::process differs in one case: it takes a High Bit that is not below Bits Stored for
/// Bits Stored - 1. Here the stored bits are where High Bit says.
///
/// @param item           the image
/// @param bytesPerSample bytes of a container: FrameFormat::bytesPerSample for frames of
/// decodeFrame()
[[nodiscard]] ZRDCMEXPORT_API StoredSamples readStoredSamples(DcmItem& item,
                                                              unsigned int bytesPerSample);

/// What is done to the samples of an image, frame by frame or to all of them at once.
///
/// A transform is made once for an image. It is not changed by its use: several threads may apply
/// one at once. Copies are cheap.
class ZRDCMEXPORT_API SampleTransform {
public:
  /// The stored bits alone, with their sign: the values that rescale applies to. They keep the
  /// width of their containers.
  ///
  /// @return nothing for containers that do not have 1, 2 or 4 bytes.
  /// @throws std::bad_alloc
  [[nodiscard]] static std::optional<SampleTransform> isolating(const StoredSamples& stored);

  /// The stored bits alone, looked up in a table; without a table made unsigned, by 128, 32768 or
  /// 2147483648 according to the width of the container.
  ///
  /// This is what ExDicomUtilities::extractSample_applyLUT_makeUnsigned does, and combinations that
  /// it leaves alone are converted too: samples of 32 bits, and samples of 16 bits with a table of
  /// 8 bits, whose values come out with 16 bits.
  ///
  /// @param stored where the bits are in their containers
  /// @param table the modality LUT, or a palette; copied. One without entries, or with entries of
  ///              other than 1 or 3 values of 8 or 16 bits, counts as none.
  /// @return nothing for containers that do not have 1, 2 or 4 bytes.
  /// @throws std::bad_alloc
  /// @see PS3.3 C.11.1 (Modality LUT Module)
  [[nodiscard]] static std::optional<SampleTransform> makingUnsigned(
      const StoredSamples& stored, const ExDicomUtilities::LUT& table);

  SampleTransform(const SampleTransform& other) = default;
  SampleTransform& operator=(const SampleTransform& other) = default;
  ~SampleTransform() = default;

  /// Bytes of a value that comes out: 1, 2 or 4.
  [[nodiscard]] unsigned int bytesPerValue() const noexcept;
  /// Values that come out of a sample: 1, or 3 (red, green, blue side by side) of a palette.
  [[nodiscard]] unsigned int valuesPerSample() const noexcept;
  /// Whether they have a sign.
  [[nodiscard]] bool valuesAreSigned() const noexcept;
  /// What is added to signed samples; 0 unless they are made unsigned.
  [[nodiscard]] std::int64_t offset() const noexcept;

  /// Transforms samples that stand side by side. Addresses need no alignment.
  ///
  /// @param samples `count` samples in the byte order of the machine
  /// @param count   how many
  /// @param target  receives count x valuesPerSample() values of bytesPerValue() bytes; memory
  ///                apart from the samples, or the samples themselves where the values take as many
  ///                bytes
  void apply(const void* samples, std::uint64_t count, void* target) const noexcept;

private:
  class State;
  explicit SampleTransform(std::shared_ptr<const State> state);

  std::shared_ptr<const State> state_;
};

}  // namespace Zrg
