// SPDX-License-Identifier: BSD-3-Clause
#include "SliceDecodingFixtures.h"

#include "support/Compression.h"

#include "dcmtk/dcmdata/dcpixseq.h"
#include "dcmtk/dcmdata/dcpxitem.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace decoding {

namespace {

constexpr unsigned char kCanary = 0xA5;
constexpr std::size_t kCanaryBytes = 64;

// DCMTK says on stderr what is wrong with every malformed image; the tests say it themselves.
const bool kSilent = support::silenceDcmtk();

Outcome decode(DcmItem& item, int first, int last, void* target, unsigned long targetSize,
               Samples samples) {
  Outcome outcome;
  outcome.slice.convertSamples = samples == Samples::Converted;
  outcome.done = outcome.slice.process(item, outcome.errorText, first, last, target, targetSize);
  EXPECT_EQ(outcome.done, outcome.errorText.empty()) << outcome.errorText;
  return outcome;
}

void insertFragment(DcmPixelSequence& sequence, const Fragment& bytes) {
  auto* const item = new DcmPixelItem(DcmTag(DCM_PixelItemTag));
  sequence.insert(item);
  if (!bytes.empty() &&
      item->putUint8Array(bytes.data(), static_cast<unsigned long>(bytes.size())).bad()) {
    throw std::logic_error("no fragment");
  }
}

void appendUint32(Fragment& bytes, Uint32 value) {
  for (int shift = 0; shift < 32; shift += 8) {
    bytes.push_back(static_cast<Uint8>(value >> shift));
  }
}

}  // namespace

Outcome decodeRange(DcmItem& item, int first, int last, Samples samples) {
  return decode(item, first, last, nullptr, 0, samples);
}

Outcome decodeAll(DcmItem& item, Samples samples) {
  return decode(item, kAllFrames, 0, nullptr, 0, samples);
}

Outcome decodeInto(std::vector<unsigned char>& target, DcmItem& item, int first, int last,
                   Samples samples) {
  const std::size_t size = target.size();
  target.resize(size + kCanaryBytes, kCanary);
  Outcome outcome = decode(item, first, last, target.data(), size, samples);
  for (std::size_t i = size; i < target.size(); ++i) {
    EXPECT_EQ(target[i], kCanary) << "byte " << i << " beyond a target of " << size;
  }
  target.resize(size);
  outcome.slice.data = nullptr;  // the memory may have moved, and the caller has it anyway
  return outcome;
}

std::vector<int> samplesOf(const Zrg::SliceImage& slice) {
  const char* const start = Zrg::firstSample(slice);
  const auto count = static_cast<std::size_t>(slice.extent.x * slice.extent.y * slice.extent.z) *
                     slice.samplesPerPixel;
  std::vector<int> samples(count);
  for (std::size_t i = 0; i < count; ++i) {
    unsigned short sample = 0;
    std::memcpy(&sample, start + i * slice.bytesPerSample, slice.bytesPerSample);
    samples[i] = sample;
  }
  return samples;
}

std::vector<int> frameOf(const std::vector<int>& samples, std::size_t frameSize,
                         std::size_t frame) {
  const auto start = samples.begin() + static_cast<std::ptrdiff_t>(frame * frameSize);
  return {start, start + static_cast<std::ptrdiff_t>(frameSize)};
}

std::unique_ptr<DcmDataset> encapsulate(const DcmDataset& dataset, E_TransferSyntax syntax,
                                        const std::vector<Fragment>& fragments,
                                        const Fragment& offsetTable) {
  auto sequence = std::make_unique<DcmPixelSequence>(DcmTag(DCM_PixelData, EVR_OB));
  insertFragment(*sequence, offsetTable);
  for (const Fragment& fragment : fragments) {
    insertFragment(*sequence, fragment);
  }
  auto pixelData = std::make_unique<DcmPixelData>(DcmTag(DCM_PixelData, EVR_OB));
  pixelData->putOriginalRepresentation(syntax, nullptr, sequence.release());
  DcmDataset copy(dataset);
  if (copy.insert(pixelData.get(), OFTrue).bad()) {
    throw std::logic_error("no pixel data");
  }
  (void)pixelData.release();
  return support::readBack(copy, syntax);
}

std::vector<Fragment> fragmentsOf(DcmDataset& dataset) {
  DcmElement* element = nullptr;
  if (dataset.findAndGetElement(DCM_PixelData, element).bad()) {
    throw std::logic_error("no pixel data");
  }
  auto& pixelData = dynamic_cast<DcmPixelData&>(*element);
  E_TransferSyntax syntax = EXS_Unknown;
  const DcmRepresentationParameter* parameter = nullptr;
  pixelData.getOriginalRepresentationKey(syntax, parameter);
  DcmPixelSequence* sequence = nullptr;
  if (pixelData.getEncapsulatedRepresentation(syntax, parameter, sequence).bad()) {
    throw std::logic_error("not compressed");
  }
  std::vector<Fragment> fragments;
  for (unsigned long i = 1; i < sequence->card(); ++i) {
    DcmPixelItem* item = nullptr;
    Uint8* bytes = nullptr;
    if (sequence->getItem(item, i).bad() || item->getUint8Array(bytes).bad()) {
      throw std::logic_error("no fragment");
    }
    fragments.emplace_back(bytes, bytes + item->getLength());
  }
  return fragments;
}

Fragment offsetTable(const std::vector<Fragment>& fragments,
                     const std::vector<std::size_t>& firstFragments) {
  constexpr std::size_t kItemHeader = 8;
  Fragment table;
  for (const std::size_t first : firstFragments) {
    std::size_t offset = 0;
    for (std::size_t i = 0; i < first; ++i) {
      offset += fragments[i].size() + fragments[i].size() % 2 + kItemHeader;
    }
    appendUint32(table, static_cast<Uint32>(offset));
  }
  return table;
}

std::vector<Fragment> cut(const Fragment& fragment, std::size_t position) {
  const auto middle = fragment.begin() + static_cast<std::ptrdiff_t>(position);
  return {Fragment(fragment.begin(), middle), Fragment(middle, fragment.end())};
}

Fragment rleFrame(const std::vector<Uint32>& offsets, const std::vector<Fragment>& segments) {
  constexpr std::size_t kHeaderSize = 64;
  Fragment frame;
  appendUint32(frame, static_cast<Uint32>(offsets.size()));
  for (const Uint32 offset : offsets) {
    appendUint32(frame, offset);
  }
  frame.resize(kHeaderSize);
  for (const Fragment& segment : segments) {
    frame.insert(frame.end(), segment.begin(), segment.end());
  }
  return frame;
}

std::unique_ptr<DcmItem> asItem(const DcmDataset& dataset) {
  return std::make_unique<DcmItem>(static_cast<const DcmItem&>(dataset));
}

Fragment endlessMarkers() {
  Fragment stream = {0xFF, 0xD8};
  for (int i = 0; i < 200; ++i) {
    stream.insert(stream.end(), {0xFF, 0x01});
  }
  return stream;
}

}  // namespace decoding
