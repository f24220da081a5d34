// SPDX-License-Identifier: BSD-3-Clause
#include "ImageInput.h"

#include "FuzzDataset.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcpixel.h"
#include "dcmtk/dcmdata/dcpixseq.h"
#include "dcmtk/dcmdata/dcpxitem.h"

#include <memory>
#include <string>

namespace fuzz {

namespace {

// Known decoders first; the last one has none.
constexpr std::array<E_TransferSyntax, 9> kSyntaxes = {
    EXS_LittleEndianExplicit, EXS_RLELossless,      EXS_JPEGProcess1,
    EXS_JPEGProcess2_4,       EXS_JPEGProcess14SV1, EXS_JPEGProcess14,
    EXS_JPEGLSLossless,       EXS_JPEGLSLossy,      EXS_JPEG2000LosslessOnly};

constexpr std::array<const char*, 8> kPhotometrics = {
    "MONOCHROME2",  "MONOCHROME1",     "RGB", "PALETTE COLOR", "YBR_FULL",
    "YBR_FULL_422", "YBR_PARTIAL_422", "odd"};

constexpr Uint16 kMostRows = 32;
constexpr Uint16 kMostFrames = 5;
constexpr unsigned kLongestText = 24;

void addVector(DcmItem& item, Input& input, const DcmTagKey& key, unsigned frames) {
  const unsigned choice = input.below(8);
  if (choice == 0) {
    return;
  }
  std::vector<Uint16> numbers(choice == 1 ? input.below(40) : frames % 64);
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    numbers[i] = choice < 5 ? static_cast<Uint16>(input.below(18)) : static_cast<Uint16>(i + 1);
  }
  DcmTag tag(key);
  tag.setVR(EVR_US);
  (void)item.putAndInsertUint16Array(tag, numbers.data(), numbers.size());
}

/// A count that mostly fits, one time in eight any. Few of these are large: tens of thousands of
/// empty volumes would take a third of the time.
void addCount(DcmItem& item, Input& input, const DcmTagKey& key) {
  const auto likely = static_cast<Uint16>(input.below(6));
  const unsigned choice = input.below(8);
  if (choice < 6) {
    (void)item.putAndInsertUint16(key, likely);
  } else if (choice == 6) {
    const Uint16 any = input.word();
    (void)item.putAndInsertUint16(key, any < 0xF000 ? any % 256 : any);
  }
}

/// What splitting reads. @see PS3.3 C.7.6.6, C.8.4.8.1.1
void addFrameAttributes(DcmItem& item, Input& input, unsigned frames) {
  static constexpr std::array<const char*, 6> kPointers = {
      "(0054,0080)", "(0054,0060)\\(0054,0070)\\(0054,0080)",
      "(0018,1063)", "(3004,000c)",
      "(0018,0088)", "(0054,0070)"};
  (void)item.putAndInsertString(DCM_FrameIncrementPointer, kPointers.at(input.below(6)));
  const unsigned spacing = input.below(4);
  if (spacing < 2) {
    (void)item.putAndInsertString(DCM_SpacingBetweenSlices, spacing == 0 ? "-2" : "1.5");
  } else if (spacing == 2) {
    (void)item.putAndInsertString(DCM_SpacingBetweenSlices, input.text(kLongestText).c_str());
  }
  if (input.flag()) {
    (void)item.putAndInsertString(DCM_GridFrameOffsetVector, input.text(2 * kLongestText).c_str());
  }
  for (const DcmTagKey& key :
       {DCM_NumberOfSlices, DCM_NumberOfRRIntervals, DCM_NumberOfTimeSlots}) {
    addCount(item, input, key);
  }
  for (const DcmTagKey& key : {DCM_SliceVector, DCM_RRIntervalVector, DCM_TimeSlotVector}) {
    addVector(item, input, key, frames);
  }
}

/// Texts where numbers are expected; a bit for each that is there.
void addTexts(DcmItem& item, Input& input) {
  unsigned there = input.byte();
  for (const DcmTagKey& key :
       {DCM_NumberOfFrames, DCM_RescaleSlope, DCM_RescaleIntercept, DCM_WindowCenter,
        DCM_WindowWidth, DCM_PixelSpacing, DCM_LossyImageCompression, DCM_SOPClassUID}) {
    if (there % 2 != 0) {
      (void)item.putAndInsertString(key, input.text(kLongestText).c_str());
    }
    there /= 2;
  }
}

/// Whether an image is neither small nor so large that it must fail: clearing its memory would take
/// all the time and tell nothing.
bool isTedious(const ImageInput& image) {
  constexpr unsigned long long kSmall = 1 << 14;
  constexpr unsigned long long kLarge = 1 << 26;
  const unsigned frames =
      image.has(ImageInput::kNumberOfFrames) && image.frames > 0 ? image.frames : 1;
  const unsigned long long samples =
      1ULL * image.rows * image.columns * std::max<unsigned>(image.samplesPerPixel, 1);
  return samples > kSmall / frames && samples < kLarge;
}

Uint8 atLeastOne(Uint8 value) {
  return value == 0 ? Uint8{1} : value;
}

}  // namespace

ImageInput ImageInput::read(Input& input) {
  ImageInput image;
  image.road = input.byte();
  image.syntax = input.below(kSyntaxes.size());
  image.photometric = input.below(kPhotometrics.size());
  image.parts = input.byte();
  image.rows = input.word();
  image.columns = input.word();
  image.frames = input.word();
  image.samplesPerPixel = input.byte();
  image.bitsAllocated = input.byte();
  image.bitsStored = input.byte();
  image.highBit = input.byte();
  image.first = static_cast<Sint8>(input.byte());
  image.last = static_cast<Sint8>(input.byte());
  image.missing = input.byte();
  image.trust = input.byte();
  for (Uint16& cut : image.cuts) {
    cut = input.word();
  }
  if (image.trust != kTakeSizes || isTedious(image)) {
    image.rows = static_cast<Uint16>(image.rows % (kMostRows + 1));
    image.columns = static_cast<Uint16>(image.columns % (2 * kMostRows + 1));
    image.frames = static_cast<Uint16>(image.frames % (kMostFrames + 1));
    image.samplesPerPixel = atLeastOne(static_cast<Uint8>(image.samplesPerPixel % 5));
    image.bitsAllocated = atLeastOne(static_cast<Uint8>(image.bitsAllocated % 41));
  }
  return image;
}

void ImageInput::write(Output& output) const {
  output.byte(road).byte(syntax).byte(photometric).byte(parts);
  output.word(rows).word(columns).word(frames);
  output.byte(samplesPerPixel).byte(bitsAllocated).byte(bitsStored).byte(highBit);
  output.byte(static_cast<unsigned>(first) & 0xFFU).byte(static_cast<unsigned>(last) & 0xFFU);
  output.byte(missing).byte(trust);
  for (const Uint16 cut : cuts) {
    output.word(cut);
  }
}

E_TransferSyntax ImageInput::transferSyntax() const {
  return kSyntaxes.at(syntax);
}

const char* ImageInput::photometricInterpretation() const {
  return kPhotometrics.at(photometric);
}

void ImageInput::addAttributes(DcmItem& item, Input& input) const {
  struct Number {
    DcmTagKey key;
    Uint16 value;
  };
  const auto isSigned = static_cast<Uint16>(has(kSigned) ? 1 : 0);
  const auto planar = static_cast<Uint16>(has(kPlanar) ? 1 : 0);
  const std::array<Number, 8> numbers = {{{DCM_SamplesPerPixel, samplesPerPixel},
                                          {DCM_Rows, rows},
                                          {DCM_Columns, columns},
                                          {DCM_BitsAllocated, bitsAllocated},
                                          {DCM_BitsStored, bitsStored},
                                          {DCM_HighBit, highBit},
                                          {DCM_PixelRepresentation, isSigned},
                                          {DCM_PlanarConfiguration, planar}}};
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const bool isForColour = numbers.at(i).key == DCM_PlanarConfiguration;
    if (missing != i + 1 && (!isForColour || samplesPerPixel > 1)) {
      (void)item.putAndInsertUint16(numbers.at(i).key, numbers.at(i).value);
    }
  }
  if (missing != numbers.size() + 1) {
    (void)item.putAndInsertString(DCM_PhotometricInterpretation, photometricInterpretation());
  }
  if (has(kNumberOfFrames)) {
    (void)item.putAndInsertString(DCM_NumberOfFrames, std::to_string(frames).c_str());
  }
  if (has(kOverlay)) {
    addEmbeddedOverlay(item, input);
  }
  if (has(kModalityLut)) {
    addModalityLut(item, input);
  }
  if (has(kTexts)) {
    addTexts(item, input);
  }
  if (has(kFrameAttributes)) {
    addFrameAttributes(item, input, frames);
  }
  if (has(kPalette)) {
    addPalette(item, input);
  }
}

std::vector<std::vector<Uint8>> ImageInput::fragmentsOf(const std::vector<Uint8>& payload) const {
  std::vector<std::vector<Uint8>> fragments;
  std::size_t taken = 0;
  const auto take = [&](std::size_t count) {
    const std::size_t end = std::min(payload.size(), taken + count);
    fragments.emplace_back(payload.begin() + static_cast<std::ptrdiff_t>(taken),
                           payload.begin() + static_cast<std::ptrdiff_t>(end));
    fragments.back().resize((end - taken + 1) / 2 * 2);
    taken = end;
  };
  for (std::size_t i = 0; i < cuts.size() && cuts.at(i) != 0 && taken < payload.size(); ++i) {
    take(cuts.at(i));
  }
  if (taken < payload.size()) {
    take(payload.size());
  }
  return fragments;
}

void ImageInput::addPixelData(DcmItem& item, const std::vector<Uint8>& payload) const {
  if (transferSyntax() == EXS_LittleEndianExplicit) {
    if (payload.size() % 2 == 0 && bitsAllocated > 8) {
      std::vector<Uint16> words(payload.size() / 2);
      std::copy(payload.begin(), payload.end(), reinterpret_cast<Uint8*>(words.data()));
      (void)item.putAndInsertUint16Array(DCM_PixelData, words.data(), words.size());
    } else {
      (void)item.putAndInsertUint8Array(DCM_PixelData, payload.data(), payload.size());
    }
    return;
  }
  auto sequence = std::make_unique<DcmPixelSequence>(DcmTag(DCM_PixelData, EVR_OB));
  (void)sequence->insert(new DcmPixelItem(DcmTag(DCM_Item, EVR_OB)));
  for (const std::vector<Uint8>& bytes : fragmentsOf(payload)) {
    auto* fragment = new DcmPixelItem(DcmTag(DCM_Item, EVR_OB));
    (void)fragment->putUint8Array(bytes.data(), bytes.size());
    (void)sequence->insert(fragment);
  }
  auto* pixels = new DcmPixelData(DCM_PixelData);
  pixels->putOriginalRepresentation(transferSyntax(), nullptr, sequence.release());
  if (item.insert(pixels, true).bad()) {
    delete pixels;
  }
}

unsigned ImageInput::indexOf(E_TransferSyntax syntax) {
  return static_cast<unsigned>(std::find(kSyntaxes.begin(), kSyntaxes.end(), syntax) -
                               kSyntaxes.begin());
}

unsigned ImageInput::indexOf(const std::string& photometric) {
  return static_cast<unsigned>(std::find(kPhotometrics.begin(), kPhotometrics.end(), photometric) -
                               kPhotometrics.begin());
}

std::size_t payloadPosition(const Uint8* data, std::size_t size) {
  Input input(data, size);
  const ImageInput image = ImageInput::read(input);
  DcmItem item;
  image.addAttributes(item, input);
  return input.position();
}

}  // namespace fuzz
