// SPDX-License-Identifier: BSD-3-Clause
// Frames that are not compressed stand one behind the other without padding, also those whose
// pixels have one bit: a frame may begin within a byte. Of an element whose value is still in the
// file only the bytes of the frame are read.
#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/pixels/Containers.h"
#include "zrimaging/pixels/PackedBits.h"
#include "zrimaging/pixels/PixelDescription.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcfcache.h"
#include "dcmtk/dcmdata/dctk.h"

#include <limits>
#include <vector>

namespace zr {

namespace {

DcmTagKey tagOfElement(PixelDescription::Element element) {
  switch (element) {
    case PixelDescription::Element::kFloatPixelData:
      return DCM_FloatPixelData;
    case PixelDescription::Element::kDoubleFloatPixelData:
      return DCM_DoubleFloatPixelData;
    case PixelDescription::Element::kPixelData:
      break;
  }
  return DCM_PixelData;
}

class NativeContainers final : public Containers {
public:
  NativeContainers(const File& file, const PixelDescription& pixels)
      : file_(file), pixels_(pixels) {
    if (file.dataset().findAndGetElement(tagOfElement(pixels.element), element_).bad()) {
      throw Error(Reason::Damaged, "has no pixel data");
    }
  }

  void check(std::uint64_t frame) override {
    const std::uint64_t expected = (endBitOf(frame) + kPixelsPerByte - 1) / kPixelsPerByte;
    const std::uint64_t found = element_->getLength();
    if (found < expected) {
      throw Error(Reason::Damaged, "Pixel data incomplete, expected " + std::to_string(expected) +
                                       " bytes, found " + std::to_string(found) + " bytes");
    }
  }

  std::string read(std::uint64_t frame, unsigned char* target) override {
    check(frame);
    if (pixels_.bitsAllocated == 1) {
      readBits(frame, target);
    } else {
      readBytes(frame * pixels_.containerBytes(), pixels_.containerBytes(), target);
      if (bytesOf(pixels_.containerType()) == sizeof(std::uint32_t)) {
        orderWords(target);
      }
    }
    return pixels_.photometricInterpretation;
  }

private:
  std::uint64_t frameBits() const {
    return pixels_.pixels() * pixels_.containersPerPixel() * pixels_.bitsAllocated;
  }

  std::uint64_t endBitOf(std::uint64_t frame) const {
    const std::uint64_t bits = frameBits();
    const std::uint64_t most = std::numeric_limits<std::uint64_t>::max() - kPixelsPerByte;
    if (frame >= most / bits) {
      throw Error(Reason::NoSuchFrame, "has no frame " + std::to_string(frame));
    }
    return (frame + 1) * bits;
  }

  void readBits(std::uint64_t frame, unsigned char* target) {
    const std::uint64_t firstBit = frame * frameBits();
    const std::uint64_t first = firstBit / kPixelsPerByte;
    const std::uint64_t end = (endBitOf(frame) + kPixelsPerByte - 1) / kPixelsPerByte;
    packed_.resize(static_cast<std::size_t>(end - first));
    readBytes(first, end - first, packed_.data());
    unpackBits(packed_.data(), static_cast<unsigned>(firstBit % kPixelsPerByte),
               static_cast<std::size_t>(pixels_.pixels() * pixels_.containersPerPixel()), target);
  }

  void readBytes(std::uint64_t offset, std::uint64_t size, unsigned char* target) {
    // Elements have at most 4 GiB, which check() has compared with.
    const OFCondition status = element_->getPartialValue(target, static_cast<Uint32>(offset),
                                                         static_cast<Uint32>(size), &cache_);
    if (status.bad()) {
      throw Error(status == EC_MemoryExhausted ? Reason::OutOfMemory : Reason::Damaged,
                  std::string("has pixel data that cannot be read: ") + status.text());
    }
  }

  /// Of big endian data DCMTK turns round the bytes of each word of 16 bits; the words of 32 bits
  /// come high before low then.
  void orderWords(unsigned char* target) const {
    const bool isBigEndian =
        DcmXfer(file_.dataset().getOriginalXfer()).getByteOrder() == EBO_BigEndian;
    if (!isBigEndian || element_->getVR() != EVR_OW) {
      return;
    }
    for (std::uint64_t i = 0; i < pixels_.containerBytes(); i += sizeof(std::uint32_t)) {
      std::swap(target[i], target[i + 2]);
      std::swap(target[i + 1], target[i + 3]);
    }
  }

  const File& file_;
  PixelDescription pixels_;
  DcmElement* element_ = nullptr;
  DcmFileCache cache_;
  std::vector<std::uint8_t> packed_;
};

}  // namespace

std::unique_ptr<Containers> nativeContainers(const File& file, const PixelDescription& pixels) {
  return std::make_unique<NativeContainers>(file, pixels);
}

}  // namespace zr
