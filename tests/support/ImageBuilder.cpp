// SPDX-License-Identifier: BSD-3-Clause
// Attributes are written when they are named, samples when the image is built: only then are size
// and container are known.
#include "support/ImageBuilder.h"

#include <stdexcept>

namespace support {

ImageBuilder::ImageBuilder(Uint16 columns, Uint16 rows, Uint16 samplesPerPixel,
                           const std::string& photometricInterpretation)
    : columns_(columns), rows_(rows), samplesPerPixel_(samplesPerPixel) {
  with(DCM_SOPClassUID, UID_SecondaryCaptureImageStorage);
  with(DCM_SOPInstanceUID, "2.25.42");
  withUint16(DCM_Columns, columns);
  withUint16(DCM_Rows, rows);
  withUint16(DCM_SamplesPerPixel, samplesPerPixel);
  photometric(photometricInterpretation);
  unsigned16();
}

ImageBuilder& ImageBuilder::container(Uint16 bitsAllocated, Uint16 pixelRepresentation) {
  bitsAllocated_ = bitsAllocated;
  withUint16(DCM_BitsAllocated, bitsAllocated);
  withUint16(DCM_PixelRepresentation, pixelRepresentation);
  return bitsStored(bitsAllocated);
}

ImageBuilder& ImageBuilder::bitsStored(Uint16 bits) {
  bitsStored_ = bits;
  withUint16(DCM_BitsStored, bits);
  return highBit(static_cast<Uint16>(bits - 1));
}

ImageBuilder& ImageBuilder::highBit(Uint16 bit) {
  highBit_ = bit;
  return withUint16(DCM_HighBit, bit);
}

ImageBuilder& ImageBuilder::frames(unsigned int count) {
  frames_ = count;
  return with(DCM_NumberOfFrames, std::to_string(count));
}

ImageBuilder& ImageBuilder::frameIncrementPointer(const std::string& tags) {
  return with(DCM_FrameIncrementPointer, tags);
}

ImageBuilder& ImageBuilder::photometric(const std::string& interpretation) {
  return with(DCM_PhotometricInterpretation, interpretation);
}

ImageBuilder& ImageBuilder::planar(Uint16 configuration) {
  return withUint16(DCM_PlanarConfiguration, configuration);
}

ImageBuilder& ImageBuilder::rescale(const std::string& slope, const std::string& intercept) {
  return with(DCM_RescaleSlope, slope).with(DCM_RescaleIntercept, intercept);
}

ImageBuilder& ImageBuilder::window(const std::string& centre, const std::string& width) {
  return with(DCM_WindowCenter, centre).with(DCM_WindowWidth, width);
}

ImageBuilder& ImageBuilder::spacing(const std::string& betweenRows,
                                    const std::string& betweenColumns) {
  return with(DCM_PixelSpacing, betweenRows + "\\" + betweenColumns);
}

ImageBuilder& ImageBuilder::samples(const std::vector<int>& values) {
  samples_ = values;
  return *this;
}

ImageBuilder& ImageBuilder::overlayPlane(Uint16 group, Uint16 bitPosition) {
  return withUint16(DcmTagKey(group, 0x0010), rows_)
      .withUint16(DcmTagKey(group, 0x0011), columns_)
      .with(DcmTagKey(group, 0x0040), "G")
      .withSint16s(DcmTagKey(group, 0x0050), {1, 1})
      .withUint16(DcmTagKey(group, 0x0100), bitsAllocated_)
      .withUint16(DcmTagKey(group, 0x0102), bitPosition);
}

ImageBuilder& ImageBuilder::overlayBits(Uint16 group, Uint16 bitPosition,
                                        const std::vector<Pixel>& places, unsigned int frame) {
  clearedBits_.push_back(bitPosition);
  for (const Pixel& place : places) {
    overlayBits_.push_back({bitPosition, frame, place});
  }
  return overlayPlane(group, bitPosition);
}

std::unique_ptr<DcmDataset> ImageBuilder::build() const {
  auto dataset = std::make_unique<DcmDataset>(content_.dataset());
  addPixelData(*dataset);
  return dataset;
}

std::unique_ptr<DcmItem> ImageBuilder::buildItem() const {
  auto item = std::make_unique<DcmItem>(static_cast<const DcmItem&>(content_.dataset()));
  addPixelData(*item);
  return item;
}

std::vector<Uint16> ImageBuilder::ramp(std::size_t count) const {
  const std::size_t values = std::size_t{1} << bitsStored_;
  const int shift = highBit_ + 1 - bitsStored_;
  std::vector<Uint16> words(count);
  for (std::size_t i = 0; i < count; ++i) {
    words[i] = static_cast<Uint16>((i % values) << (shift > 0 ? shift : 0));
  }
  return words;
}

std::vector<Uint16> ImageBuilder::storedSamples() const {
  const std::size_t count = std::size_t{columns_} * rows_ * samplesPerPixel_ * frames_;
  std::vector<Uint16> words = samples_.empty() ? ramp(count) : std::vector<Uint16>();
  for (const int sample : samples_) {
    words.push_back(static_cast<Uint16>(bitsAllocated_ == 8 ? sample & 0xFF : sample & 0xFFFF));
  }
  for (const Uint16 bit : clearedBits_) {
    for (Uint16& word : words) {
      word = static_cast<Uint16>(word & ~(1U << bit));
    }
  }
  for (const OverlayBit& overlay : overlayBits_) {
    const std::size_t row =
        std::size_t{overlay.frame} * rows_ + static_cast<std::size_t>(overlay.place.row);
    Uint16& word = words.at(row * columns_ + static_cast<std::size_t>(overlay.place.column));
    word = static_cast<Uint16>(word | (1U << overlay.bitPosition));
  }
  return words;
}

void ImageBuilder::addPixelData(DcmItem& item) const {
  if (item.tagExists(DCM_PixelData)) {
    return;
  }
  const std::vector<Uint16> cells = storedSamples();
  const auto count = static_cast<unsigned long>(cells.size());
  OFCondition status;
  if (bitsAllocated_ == 8) {
    const std::vector<Uint8> bytes(cells.begin(), cells.end());
    status = item.putAndInsertUint8Array(DCM_PixelData, bytes.data(), count);
  } else {
    status = item.putAndInsertUint16Array(DCM_PixelData, cells.data(), count);
  }
  if (status.bad()) {
    throw std::logic_error(std::string("builder: pixel data: ") + status.text());
  }
}

ImageBuilder monochromeImage(Uint16 columns, Uint16 rows) {
  return {columns, rows, 1, "MONOCHROME2"};
}

ImageBuilder ctSlice(Uint16 columns, Uint16 rows) {
  return monochromeImage(columns, rows)
      .with(DCM_SOPClassUID, UID_CTImageStorage)
      .with(DCM_Modality, "CT");
}

ImageBuilder rgbImage(Uint16 columns, Uint16 rows) {
  return ImageBuilder(columns, rows, 3, "RGB").unsigned8().planar(0);
}

ImageBuilder paletteImage(Uint16 columns, Uint16 rows) {
  std::vector<Uint16> red(256);
  std::vector<Uint16> green(256);
  for (std::size_t i = 0; i < red.size(); ++i) {
    red[i] = static_cast<Uint16>(i << 8U);
    green[i] = static_cast<Uint16>((255 - i) << 8U);
  }
  const std::vector<Uint16> blue(256, 128U << 8U);
  const std::vector<Uint16> descriptor = {256, 0, 16};
  return ImageBuilder(columns, rows, 1, "PALETTE COLOR")
      .unsigned8()
      .withUint16s(DCM_RedPaletteColorLookupTableDescriptor, descriptor)
      .withUint16s(DCM_GreenPaletteColorLookupTableDescriptor, descriptor)
      .withUint16s(DCM_BluePaletteColorLookupTableDescriptor, descriptor)
      .withWords(DCM_RedPaletteColorLookupTableData, red)
      .withWords(DCM_GreenPaletteColorLookupTableData, green)
      .withWords(DCM_BluePaletteColorLookupTableData, blue);
}

}  // namespace support
