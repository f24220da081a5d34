// SPDX-License-Identifier: BSD-3-Clause
// write_seeds DIRECTORY: writes inputs to start from, a folder for each fuzzer. Images come from
// the builders of the tests and DCMTK's encoders; the damaged ones are those that break decoders
// which trust what a file says of itself.
#include "ImageInput.h"
#include "codecs/Jpeg2000Encoding.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcpixel.h"
#include "dcmtk/dcmdata/dcpixseq.h"
#include "dcmtk/dcmdata/dcpxitem.h"

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>

namespace {

using fuzz::ImageInput;
using fuzz::Output;
using support::ImageBuilder;
using Bytes = std::vector<Uint8>;

class Folder {
public:
  explicit Folder(std::filesystem::path path) : path_(std::move(path)) {}

  void write(const std::string& target, const std::string& name, const Bytes& bytes) const {
    std::filesystem::create_directories(path_ / target);
    std::ofstream file(path_ / target / name, std::ios::binary);
    for (const Uint8 byte : bytes) {
      file.put(static_cast<char>(byte));
    }
    if (!file.flush()) {
      throw std::runtime_error("cannot write " + (path_ / target / name).string());
    }
  }

private:
  std::filesystem::path path_;
};

/// An image that may be spoiled before it is written.
struct Seed {
  ImageInput head;
  Bytes parts;
  Bytes payload;

  [[nodiscard]] Bytes bytes() const {
    Output output;
    head.write(output);
    return output.bytes(parts).bytes(payload).all();
  }
};

Uint16 uint16Of(DcmDataset& dataset, const DcmTagKey& key, Uint16 otherwise) {
  Uint16 number = 0;
  return dataset.findAndGetUint16(key, number).good() ? number : otherwise;
}

Bytes nativeSamples(DcmPixelData& pixelData) {
  Uint8* samples = nullptr;
  if (pixelData.getUint8Array(samples).bad()) {
    throw std::runtime_error("an image without samples");
  }
  return {samples, samples + pixelData.getLength()};
}

void takeFragments(DcmPixelSequence& sequence, Seed& seed) {
  for (unsigned long i = 1; i < sequence.card(); ++i) {
    DcmPixelItem* item = nullptr;
    Uint8* bytes = nullptr;
    if (sequence.getItem(item, i).bad() || item->getUint8Array(bytes).bad()) {
      throw std::runtime_error("an image without a fragment");
    }
    const Uint32 length = item->getLength();
    if (i + 1 < sequence.card()) {
      seed.head.cuts.at(i - 1) = static_cast<Uint16>(length);
    }
    seed.payload.insert(seed.payload.end(), bytes, bytes + length);
  }
}

Seed seedOf(const ImageBuilder& builder, E_TransferSyntax syntax) {
  const auto native = builder.build();
  const bool isNative = syntax == EXS_LittleEndianExplicit;
  const auto dataset =
      isNative ? support::readBack(*native, syntax) : support::compress(*native, syntax);
  Seed seed;
  ImageInput& head = seed.head;
  OFString photometric;
  (void)dataset->findAndGetOFString(DCM_PhotometricInterpretation, photometric);
  head.syntax = ImageInput::indexOf(syntax);
  head.photometric = ImageInput::indexOf(photometric);
  head.rows = uint16Of(*dataset, DCM_Rows, 0);
  head.columns = uint16Of(*dataset, DCM_Columns, 0);
  head.samplesPerPixel = static_cast<Uint8>(uint16Of(*dataset, DCM_SamplesPerPixel, 1));
  head.bitsAllocated = static_cast<Uint8>(uint16Of(*dataset, DCM_BitsAllocated, 8));
  head.bitsStored = static_cast<Uint8>(uint16Of(*dataset, DCM_BitsStored, 8));
  head.highBit = static_cast<Uint8>(uint16Of(*dataset, DCM_HighBit, 7));
  Sint32 frames = 0;
  if (dataset->findAndGetSint32(DCM_NumberOfFrames, frames).good()) {
    head.frames = static_cast<Uint16>(frames);
    head.parts |= ImageInput::kNumberOfFrames;
  }
  head.parts |= uint16Of(*dataset, DCM_PixelRepresentation, 0) != 0 ? ImageInput::kSigned : 0U;
  head.parts |= uint16Of(*dataset, DCM_PlanarConfiguration, 0) != 0 ? ImageInput::kPlanar : 0U;
  DcmElement* element = nullptr;
  (void)dataset->findAndGetElement(DCM_PixelData, element);  // a null pointer is refused below
  auto* const pixelData = dynamic_cast<DcmPixelData*>(element);
  if (pixelData == nullptr) {
    throw std::runtime_error("an image without pixel data");
  }
  DcmPixelSequence* sequence = nullptr;
  if (isNative) {
    seed.payload = nativeSamples(*pixelData);
  } else if (pixelData->getEncapsulatedRepresentation(syntax, nullptr, sequence).good()) {
    takeFragments(*sequence, seed);
  } else {
    throw std::runtime_error("an image that was not compressed");
  }
  return seed;
}

struct Image {
  std::string name;
  ImageBuilder builder;
};

std::vector<Image> images() {
  return {{"mono8", support::monochromeImage(8, 6).unsigned8()},
          {"mono16", support::monochromeImage(8, 6).bitsStored(12)},
          {"signed16", support::monochromeImage(7, 5).signed16().bitsStored(12).frames(3)},
          {"frames8", support::monochromeImage(9, 3).unsigned8().frames(2)},
          {"rgb", support::rgbImage(6, 4)},
          {"rgbFrames", support::rgbImage(4, 4).frames(3)}};
}

struct Syntax {
  std::string name;
  E_TransferSyntax syntax;
  bool only8Bits;
};

const std::vector<Syntax>& syntaxes() {
  static const std::vector<Syntax> all = {{"native", EXS_LittleEndianExplicit, false},
                                          {"rle", EXS_RLELossless, false},
                                          {"baseline", EXS_JPEGProcess1, true},
                                          {"lossless", EXS_JPEGProcess14SV1, false},
                                          {"jpegls", EXS_JPEGLSLossless, false}};
  return all;
}

/// An image in all roads of its fuzzers.
void writeImage(const Folder& folder, const std::string& name, Seed seed) {
  for (unsigned road = 0; road < 5; ++road) {
    seed.head.road = road == 2 ? 0x52 : road;  // a target of some size
    seed.head.last = road == 3 ? 1 : 0;
    folder.write("decoding", name + "-" + std::to_string(road), seed.bytes());
  }
  const bool isRle = seed.head.transferSyntax() == EXS_RLELossless;
  const bool isJpegLs = seed.head.transferSyntax() == EXS_JPEGLSLossless;
  seed.head.road = isRle ? 0 : isJpegLs ? 2 : 1;
  folder.write("codec_guard", name, seed.bytes());
  seed.head.cuts = {4, 10, 30};
  folder.write("codec_guard", name + "-cut", seed.bytes());
  seed.head.road = 3;
  folder.write("codec_guard", name + "-answers", seed.bytes());
}

void writeImages(const Folder& folder) {
  for (const Image& image : images()) {
    for (const Syntax& syntax : syntaxes()) {
      if (syntax.only8Bits && image.name.find("16") != std::string::npos) {
        continue;
      }
      writeImage(folder, image.name + "-" + syntax.name, seedOf(image.builder, syntax.syntax));
    }
  }
  const auto palette = support::monochromeImage(4, 4).unsigned8();
  Seed seed = seedOf(palette, EXS_LittleEndianExplicit);
  seed.head.photometric = ImageInput::indexOf("PALETTE COLOR");
  seed.head.parts |= ImageInput::kPalette;
  for (int channel = 0; channel < 3; ++channel) {
    seed.parts = Output().bytes(seed.parts).list({0, 16, 0, 0, 32}).bytes(Bytes(32, 0x55)).all();
  }
  writeImage(folder, "palette", seed);
}

/// Overlay, modality LUT and texts around samples.
void writeParts(const Folder& folder) {
  Seed seed = seedOf(support::monochromeImage(8, 6).bitsStored(8), EXS_LittleEndianExplicit);
  seed.head.parts |= ImageInput::kOverlay | ImageInput::kModalityLut | ImageInput::kTexts;
  Output parts;
  parts.list({1, 0, 4, 0, 5, 0, 12, 0}).byte(1).text("1").list({3, 3});  // group, plane, frames
  parts.list({0, 16, 0, 0, 32}).bytes(Bytes(32, 7));                     // table
  parts.byte(0x7E).text("2").text("-1024").text("40").text("400").text("0.5\\0.25").text("01");
  seed.parts = parts.all();
  writeImage(folder, "parts", seed);
}

void writeHazards(const Folder& folder) {
  Seed endless = seedOf(images()[0].builder, EXS_JPEGProcess1);
  endless.payload.insert(endless.payload.begin() + 2, {0xFF, 0x01});
  writeImage(folder, "endless-marker", endless);

  Seed promise = seedOf(images()[0].builder, EXS_JPEGProcess14SV1);
  promise.head.rows = promise.head.columns = 65535;
  promise.head.trust = ImageInput::kTakeSizes;
  writeImage(folder, "stream-smaller-than-promised", promise);

  Seed beyond = seedOf(images()[0].builder, EXS_RLELossless);
  beyond.payload[6] = 0x10;
  writeImage(folder, "rle-offset-beyond", beyond);

  Seed tiny = seedOf(images()[0].builder, EXS_RLELossless);
  tiny.payload.resize(4);
  writeImage(folder, "rle-fragment-of-4-bytes", tiny);

  Seed quarter = seedOf(support::monochromeImage(16, 16).unsigned8(), EXS_RLELossless);
  quarter.head.rows = quarter.head.columns = 32;
  writeImage(folder, "rle-quarter", quarter);

  Seed bits = seedOf(images()[0].builder, EXS_LittleEndianExplicit);
  bits.head.highBit = 40;
  writeImage(folder, "high-bit-40-of-8", bits);
}

void writeSplitting(const Folder& folder) {
  Seed seed =
      seedOf(support::monochromeImage(4, 3).unsigned8().frames(4), EXS_LittleEndianExplicit);
  seed.head.parts |= ImageInput::kFrameAttributes;
  const auto put = [&](const std::string& name, const Bytes& parts) {
    seed.parts = parts;
    for (unsigned road = 0; road < 2; ++road) {
      seed.head.road = road;
      folder.write("splitting", name + "-" + std::to_string(road), seed.bytes());
    }
  };
  // pointer, spacing, no grid, counts (choice and number twice over), vectors
  put("slices", Output().list({0, 1, 0, 4, 0, 1, 0, 1, 0, 7, 0, 0}).all());
  put("gated", Output()
                   .list({1, 0, 0, 2, 0, 2, 0, 1, 0, 2, 1, 2, 1, 2, 2, 1, 1, 2, 2, 2, 1, 1, 1, 1})
                   .all());
  put("frame-time", Output().list({2, 1, 0, 4, 0, 1, 0, 1, 0, 0, 0, 0}).all());
  Output grid;
  grid.list({3, 3, 1}).text("0\\2\\4\\6").list({4, 0, 1, 0, 1, 0, 0, 0, 0});
  put("grid", grid.all());
  put("spacing", Output().list({4, 0, 0, 4, 0, 1, 0, 1, 0, 0, 0, 0}).all());
}

void writeTables(const Folder& folder) {
  const Bytes words(32, 0x12);
  folder.write("lut_reading", "modality",
               Output().list({0, 1, 0, 0, 16, 0, 0, 32}).bytes(words).all());
  folder.write("lut_reading", "angiograph",
               Output().list({0, 0, 0, 8, 16, 0, 0, 16}).bytes(words).all());
  folder.write("lut_reading", "signed",
               Output().list({0, 1, 0, 3, 16, 0xF0, 0xFF, 32}).bytes(words).all());
  Output palette;
  palette.list({1, 1, 0});
  for (int channel = 0; channel < 3; ++channel) {
    palette.list({1, 16, 0, 0, 32}).bytes(words);
  }
  folder.write("lut_reading", "palette", palette.all());

  Output plain;  // road, no table, S16, 12 bits, high bit 11, samples
  plain.list({0, 0, 0, 0, 0, 0, 0, 0, 3, 12, 11}).bytes(Bytes(64, 0x9C));
  folder.write("sample_transform", "signed-12-bits", plain.all());
  for (const unsigned road : {0U, 1U, 2U, 4U}) {
    for (const unsigned type : {0U, 2U}) {
      Output table;  // a table of 8 words: one value each, first mapped 3, 16 bits preferred
      table.list({road, 1, 8}).bytes(Bytes(16, 0x21)).list({1, 0, 3, 0, 1, type, 16, 15});
      table.bytes(Bytes(48, 0x05));
      folder.write("sample_transform", "table-" + std::to_string(road) + "-" + std::to_string(type),
                   table.all());
    }
  }
  Output profile;  // repaired in names and size, two tags that end where it ends
  profile.byte(1).bytes(Bytes(131, 0)).byte(2);
  for (int tag = 0; tag < 2; ++tag) {
    profile.list({0, 0, 0, 0, 0, 0, 0, 156, 0, 0, 0, 20});
  }
  folder.write("icc_profile", "two-tags", profile.bytes(Bytes(20, 0)).all());
  // An image of 40 x 6, a plane of 33 x 4 on two frames of it, then one that lies on all of them.
  for (const unsigned several : {0U, 1U}) {
    folder.write("overlay_data", "plane-" + std::to_string(several),
                 Output()
                     .list({39, 5, 0, 0, 4, 0, 33, 0, 2, 0, 3, several, 2, 2})
                     .bytes(Bytes(34, 0x5A))
                     .all());
  }
  for (const unsigned road : {0U, 1U, 3U}) {
    folder.write("overlays", "planes-" + std::to_string(road),
                 Output()
                     .list({road, 40, 4, 1, 0, 0, 0, 4, 0, 40, 0, 12, 0, 0, 2, 2, 0, 0})
                     .bytes(Bytes(40, 0x3A))
                     .all());
    folder.write(
        "overlays", "mask-" + std::to_string(road),
        Output().list({road | 4U, 70, 4, 2, 1, 1, 65, 3, 1, 5}).bytes(Bytes(90, 0x6C)).all());
  }
}

void writeTexts(const Folder& folder) {
  Output compared;
  compared.byte(0x3F);
  for (int dataset = 0; dataset < 2; ++dataset) {
    for (const char* text :
         {"ORIGINAL\\PRIMARY", "3", "12.5", "1.2.3", "7", "2", "80", "5", "6", "40", "1.2.4"}) {
      compared.byte(3).text(text);
    }
  }
  folder.write("comparison", "all-criteria", compared.all());
  folder.write("comparison", "absent", Output().byte(0x3F).bytes(Bytes(22, 0)).all());

  for (unsigned type = 0; type < 7; ++type) {
    folder.write("value_rendering", "type-" + std::to_string(type),
                 Output().list({0, type, 1}).bytes(Bytes(24, 0x41)).all());
  }
  folder.write("value_rendering", "own-text",
               Output().byte(1).word(0x0071).word(0x1021).list({1, 0, 0}).text("history").all());

  for (unsigned road = 0; road < 2; ++road) {
    Output tree;  // attributes, a sequence with two items of which one nests, numbers
    tree.list({road, 4, 0, 5}).text("Doe^John").list({0, 2}).text("1.2.3");
    tree.list({12, 0, 2, 1, 0, 6}).text("patient").list({1, 12, 1, 1, 1, 0, 7}).text("20200102");
    tree.list({9, 3, 7, 0});
    folder.write("tag_tree", "tree-" + std::to_string(road), tree.all());
  }
}

// Steps as ElementStream reads them: 3 opens a sequence with an item, 11 closes both, 18 repeats.
void writeNesting(const Folder& folder) {
  for (unsigned syntax = 0; syntax < 4; ++syntax) {
    folder.write("nesting", "dataset-" + std::to_string(syntax),
                 Output().list({5, syntax, 0, 0, 0, 4, 3, 0, 18, 70, 11, 18, 70}).all());
    folder.write("nesting", "unknown-" + std::to_string(syntax),
                 Output().list({5, syntax, 14, 0, 1, 16, 0, 0, 0, 0, 11, 11, 15, 0, 1, 3}).all());
  }
  for (unsigned syntax = 0; syntax < 9; ++syntax) {
    folder.write("nesting", "file-" + std::to_string(syntax),
                 Output().list({1, syntax, 0, 0, 3, 0, 6, 1, 1, 0, 10, 3, 11, 11, 13, 0, 2}).all());
  }
  folder.write("nesting", "meta", Output().list({4, 0, 1, 0, 40, 3, 0, 3, 0, 11, 11, 1, 1}).all());
}

#if defined(FUZZ_WITH_CODECS)

/// Samples without any order, which choose the attributes by the byte in front of the stream.
void writeStream(const Folder& folder, const char* name, unsigned choice, unsigned columns,
                 unsigned rows, unsigned components, const jpeg2000::Settings& settings) {
  std::vector<int> samples(std::size_t{columns} * rows * components);
  std::minstd_rand random;
  for (int& sample : samples) {
    sample = static_cast<int>(random() >> 8U) & ((1 << settings.bits) - 1);
    sample -= settings.isSigned ? 1 << (settings.bits - 1) : 0;
  }
  folder.write("jpeg2000", name,
               Output()
                   .byte(choice)
                   .bytes(jpeg2000::encode(samples, columns, rows, components, settings))
                   .all());
}

void writeJpeg2000(const Folder& folder) {
  using jpeg2000::Order;
  writeStream(folder, "grey8", 0, 9, 7, 1, {.levels = 2});
  writeStream(folder, "grey12", 1, 9, 7, 1, {.bits = 12, .levels = 2});
  writeStream(folder, "grey16-signed", 3, 8, 8, 1, {.bits = 16, .isSigned = true, .levels = 2});
  writeStream(folder, "rgb", 0, 8, 6, 3, {.hasColourTransform = true, .levels = 2});
  writeStream(folder, "rgb-planar", 4, 8, 6, 3, {.levels = 2});
  writeStream(folder, "lossy", 0, 16, 16, 1, {.ratio = 2});
  writeStream(folder, "ict", 0, 16, 12, 3, {.hasColourTransform = true, .ratio = 3});
  writeStream(folder, "tiles", 0, 20, 20, 1, {.tileSize = 8, .levels = 1});
  writeStream(folder, "layers", 0, 16, 16, 1, {.layers = 3});
  writeStream(folder, "rpcl-precincts", 0, 40, 40, 1,
              {.levels = 2, .precinctExponent = 4, .order = Order::Rpcl});
  writeStream(folder, "cprl-markers", 0, 12, 12, 3,
              {.levels = 1, .order = Order::Cprl, .hasMarkers = true});
  writeStream(folder, "file", 0, 9, 7, 1, {.levels = 2, .isFile = true});
  writeStream(folder, "subsampled", 0, 9, 7, 3, {.levels = 1, .chroma = 2});
}

#endif

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    (void)std::fprintf(stderr, "usage: write_seeds DIRECTORY\n");
    return 2;
  }
  try {
    support::silenceDcmtk();
    const Folder folder(argv[1]);
    writeImages(folder);
    writeParts(folder);
    writeHazards(folder);
    writeSplitting(folder);
    writeTables(folder);
    writeTexts(folder);
    writeNesting(folder);
#if defined(FUZZ_WITH_CODECS)
    writeJpeg2000(folder);
#endif
  } catch (const std::exception& failure) {
    (void)std::fprintf(stderr, "write_seeds: %s\n", failure.what());
    return 1;
  }
  return 0;
}
