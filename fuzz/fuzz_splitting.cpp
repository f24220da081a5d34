// SPDX-License-Identifier: BSD-3-Clause
// Multi-frame datasets whose vectors and counts say anything: whatever is split, every slice is the
// frame of its number in the memory that decoding all frames gives.
#include "FuzzDataset.h"

#include <ktlib/KtLogFile.h>
#include <zrdcmexport/ZrSliceImage.h>

#include <cstdlib>
#include <new>

namespace {

void addVector(DcmDataset& dataset, FuzzedDataProvider& input, const DcmTagKey& key,
               unsigned frames) {
  const unsigned choice = input.ConsumeIntegralInRange<unsigned>(0, 7);
  if (choice == 0) {
    return;
  }
  std::vector<Uint16> numbers(choice == 1 ? input.ConsumeIntegralInRange<std::size_t>(0, 40)
                                          : frames);
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    numbers[i] = choice < 5 ? static_cast<Uint16>(input.ConsumeIntegralInRange<unsigned>(0, 16))
                            : static_cast<Uint16>(i + 1);
  }
  DcmTag tag(key);
  tag.setVR(EVR_US);
  (void)dataset.putAndInsertUint16Array(tag, numbers.data(),
                                        static_cast<unsigned long>(numbers.size()));
}

void addFrameAttributes(DcmDataset& dataset, FuzzedDataProvider& input, unsigned frames) {
  static const std::array<const char*, 6> pointers = {
      "(0054,0080)", "(0054,0060)\\(0054,0070)\\(0054,0080)",
      "(0018,1063)", "(3004,000c)",
      "(0018,0088)", "(0054,0070)"};
  (void)dataset.putAndInsertString(DCM_FrameIncrementPointer,
                                   pointers.at(input.ConsumeIntegralInRange<std::size_t>(0, 5)));
  if (input.ConsumeBool()) {
    (void)dataset.putAndInsertString(DCM_SpacingBetweenSlices, input.ConsumeBool() ? "-2" : "1.5");
  } else {
    fuzz::maybeText(dataset, input, DCM_SpacingBetweenSlices);
  }
  fuzz::maybeText(dataset, input, DCM_GridFrameOffsetVector);
  for (const DcmTagKey& key :
       {DCM_NumberOfSlices, DCM_NumberOfRRIntervals, DCM_NumberOfTimeSlots}) {
    fuzz::maybeUint16(dataset, input, key, static_cast<Uint16>(frames));
  }
  for (const DcmTagKey& key : {DCM_SliceVector, DCM_RRIntervalVector, DCM_TimeSlotVector}) {
    addVector(dataset, input, key, frames);
  }
}

bool isWholeMemory(Zrg::MultiFrameImage& split, const Zrg::SliceImage& whole) {
  const std::size_t frameBytes =
      static_cast<std::size_t>(whole.extent.x * whole.extent.y) * whole.bytesPerSample;
  for (unsigned volume = 0; volume < split.numVolumes(); ++volume) {
    for (unsigned i = 0; i < split.numSlices(static_cast<int>(volume)); ++i) {
      Zrg::SliceImage slice;
      unsigned number = 0;
      if (!split.getImage(static_cast<int>(volume), i, slice) ||
          !split.getFrameNumber(static_cast<int>(volume), i, number) ||
          number >= static_cast<unsigned>(whole.extent.z) || slice.extent.x != whole.extent.x ||
          slice.extent.y != whole.extent.y || slice.bytesPerSample != whole.bytesPerSample ||
          std::memcmp(slice.data + slice.frameOffset, whole.data + number * frameBytes,
                      frameBytes) != 0) {
        return false;
      }
    }
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::silenceDcmtk();
  getTheLogInstance().setSink([](KtLogFile::Level, const std::string&) {});
  FuzzedDataProvider input(data, size);
  DcmDataset dataset;
  const bool convert = input.ConsumeBool();
  const unsigned frames = input.ConsumeIntegralInRange<unsigned>(1, 16);
  fuzz::addImageAttributes(dataset, input);
  if (input.ConsumeBool()) {
    (void)dataset.putAndInsertString(DCM_NumberOfFrames, std::to_string(frames).c_str());
  }
  addFrameAttributes(dataset, input, frames);
  fuzz::addNativePixels(dataset, input);
  DcmDataset same(dataset);

  Zrg::MultiFrameImage split(convert);
  std::string error;
  if (!split.process(dataset, error, true)) {
    return 0;
  }
  Zrg::SliceImage whole;
  whole.convertSamples = convert;
  try {
    if (!whole.process(same, error, -1, -1, nullptr, 0) || !isWholeMemory(split, whole)) {
      std::abort();
    }
  } catch (const std::bad_alloc&) {
    // Documented: passed on after the text was set.
  }
  return 0;
}
