// SPDX-License-Identifier: BSD-3-Clause
// From the file to unsigned samples, beside what DCMTK alone takes to hand out the same element:
// all frames, native and compressed, a range of frames, and one frame out of a thousand.
#include "PhantomFile.h"

#include <zrdcmexport/ZrFrames.h>
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/dcmdata/dcfcache.h"
#include "dcmtk/dcmdata/dcrledrg.h"
#include "dcmtk/dcmjpeg/djdecode.h"
#include "dcmtk/dcmjpls/djdecode.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <map>
#include <vector>

namespace {

using bench::PhantomFile;
using phantoms::HeadForm;

constexpr HeadForm kVolume{512, 512, 300, false};
constexpr HeadForm kThousand{256, 256, 1000, false};
constexpr std::size_t kFrameBytes = std::size_t{512} * 512 * 2;
constexpr int kRangeFirst = 100;
constexpr int kRangeFrames = 100;

const PhantomFile& volumeFile() {
  static const PhantomFile file(kVolume, EXS_LittleEndianExplicit);
  return file;
}

// ---- all frames --------------------------------------------------------------------------------

void decodeAll(benchmark::State& state, const char* path) {
  for (auto _ : state) {
    DcmFileFormat file;
    Zrg::SliceImage slice;
    std::string error;
    if (file.loadFile(path).bad() ||
        !slice.process(*file.getDataset(), error, -1, -1, nullptr, 0)) {
      state.SkipWithError(error.c_str());
      break;
    }
    benchmark::DoNotOptimize(slice.data);
  }
}

void registerDecoders() {
  DcmRLEDecoderRegistration::registerCodecs();
  DJDecoderRegistration::registerCodecs(EDC_guessLossyOnly);
  DJLSDecoderRegistration::registerCodecs();
}

void dcmtkAll(benchmark::State& state, const char* path) {
  registerDecoders();
  for (auto _ : state) {
    DcmFileFormat file;
    DcmElement* pixelData = nullptr;
    Uint16* words = nullptr;
    Uint8* bytes = nullptr;
    Uint16 bitsAllocated = 0;
    if (file.loadFile(path).bad() ||
        file.getDataset()->findAndGetUint16(DCM_BitsAllocated, bitsAllocated).bad() ||
        file.getDataset()->chooseRepresentation(EXS_LittleEndianExplicit, nullptr).bad() ||
        file.getDataset()->findAndGetElement(DCM_PixelData, pixelData).bad() ||
        (bitsAllocated == 16 ? pixelData->getUint16Array(words) : pixelData->getUint8Array(bytes))
            .bad()) {
      state.SkipWithError("reading failed");
      break;
    }
    benchmark::DoNotOptimize(words);
    benchmark::DoNotOptimize(bytes);
  }
}

void allNative(benchmark::State& state) {
  decodeAll(state, volumeFile().path());
}
BENCHMARK(allNative)->Name("decode_all/library/native")->Unit(benchmark::kMillisecond);

void allNativeDcmtk(benchmark::State& state) {
  dcmtkAll(state, volumeFile().path());
}
BENCHMARK(allNativeDcmtk)->Name("decode_all/dcmtk/native")->Unit(benchmark::kMillisecond);

const PhantomFile& compressedFile(E_TransferSyntax syntax) {
  constexpr int kFrames = 12;
  static std::map<E_TransferSyntax, std::unique_ptr<PhantomFile>> files;
  std::unique_ptr<PhantomFile>& file = files[syntax];
  if (file == nullptr) {
    const bool eightBit = syntax == EXS_JPEGProcess1;
    file = std::make_unique<PhantomFile>(HeadForm{512, 512, kFrames, eightBit}, syntax);
  }
  return *file;
}

template <E_TransferSyntax kSyntax>
void compressed(benchmark::State& state) {
  decodeAll(state, compressedFile(kSyntax).path());
}

template <E_TransferSyntax kSyntax>
void compressedDcmtk(benchmark::State& state) {
  dcmtkAll(state, compressedFile(kSyntax).path());
}

#define ZR_BENCH_CODEC(syntax, name)                                                              \
  BENCHMARK(compressed<syntax>)->Name("decode_all/library/" name)->Unit(benchmark::kMillisecond); \
  BENCHMARK(compressedDcmtk<syntax>)->Name("decode_all/dcmtk/" name)->Unit(benchmark::kMillisecond)
ZR_BENCH_CODEC(EXS_RLELossless, "rle");
ZR_BENCH_CODEC(EXS_JPEGProcess14SV1, "jpeg_lossless");
ZR_BENCH_CODEC(EXS_JPEGLSLossless, "jpeg_ls");
ZR_BENCH_CODEC(EXS_JPEGProcess1, "jpeg_baseline");

// ---- a range of frames -------------------------------------------------------------------------

std::vector<char>& target() {
  static std::vector<char> memory(kFrameBytes * kRangeFrames, 1);
  return memory;
}

void range(benchmark::State& state, bool convertSamples) {
  for (auto _ : state) {
    DcmFileFormat file;
    Zrg::SliceImage slice;
    slice.convertSamples = convertSamples;
    std::string error;
    if (file.loadFile(volumeFile().path()).bad() ||
        !slice.process(*file.getDataset(), error, kRangeFirst, kRangeFirst + kRangeFrames - 1,
                       target().data(), target().size())) {
      state.SkipWithError(error.c_str());
      break;
    }
    benchmark::ClobberMemory();
  }
}

void rangeStored(benchmark::State& state) {
  range(state, false);
}
BENCHMARK(rangeStored)->Name("decode_range/stored")->Unit(benchmark::kMillisecond);

void rangeConverted(benchmark::State& state) {
  range(state, true);
}
BENCHMARK(rangeConverted)->Name("decode_range/converted")->Unit(benchmark::kMillisecond);

void rangeDcmtk(benchmark::State& state) {
  for (auto _ : state) {
    DcmFileFormat file;
    bench::check(file.loadFile(volumeFile().path()));
    DcmElement* element = nullptr;
    bench::check(file.getDataset()->findAndGetElement(DCM_PixelData, element));
    auto& pixelData = dynamic_cast<DcmPixelData&>(*element);
    Uint32 fragment = 0;
    OFString colourModel;
    DcmFileCache cache;
    for (unsigned frame = 0; frame < kRangeFrames; ++frame) {
      bench::check(pixelData.getUncompressedFrame(file.getDataset(), kRangeFirst + frame, fragment,
                                                  target().data() + frame * kFrameBytes,
                                                  kFrameBytes, colourModel, &cache));
    }
    benchmark::ClobberMemory();
  }
}
BENCHMARK(rangeDcmtk)->Name("decode_range/dcmtk")->Unit(benchmark::kMillisecond);

// ---- one frame of a thousand -------------------------------------------------------------------

void oneFrame(benchmark::State& state, E_TransferSyntax syntax, int frame) {
  static std::map<E_TransferSyntax, std::unique_ptr<PhantomFile>> files;
  std::unique_ptr<PhantomFile>& phantom = files[syntax];
  if (phantom == nullptr) {
    phantom = std::make_unique<PhantomFile>(kThousand, syntax);
  }
  DcmFileFormat file;
  bench::check(file.loadFile(phantom->path()));
  for (auto _ : state) {
    Zrg::SliceImage slice;
    std::string error;
    if (!slice.process(*file.getDataset(), error, frame, frame, target().data(), target().size())) {
      state.SkipWithError(error.c_str());
      break;
    }
    benchmark::ClobberMemory();
  }
}

void oneNative(benchmark::State& state) {
  oneFrame(state, EXS_LittleEndianExplicit, static_cast<int>(state.range(0)));
}
BENCHMARK(oneNative)->Name("decode_one/native")->Arg(500)->Arg(999);

void oneNativeFirst(benchmark::State& state) {
  oneFrame(state, EXS_LittleEndianExplicit, 0);
}
BENCHMARK(oneNativeFirst)->Name("decode_one/first");

void oneRle(benchmark::State& state) {
  oneFrame(state, EXS_RLELossless, static_cast<int>(state.range(0)));
}
BENCHMARK(oneRle)->Name("decode_one_rle/rle")->Arg(500)->Arg(999);

void oneRleFirst(benchmark::State& state) {
  oneFrame(state, EXS_RLELossless, 0);
}
BENCHMARK(oneRleFirst)->Name("decode_one_rle/first");

// ---- many small frames by their numbers --------------------------------------------------------

constexpr HeadForm kManySmall{32, 32, 20000, true};

DcmDataset& manySmallFrames() {
  static const PhantomFile phantom(kManySmall, EXS_RLELossless);
  static DcmFileFormat file;
  static const bool loaded = [] {
    bench::check(file.loadFile(phantom.path()));
    return true;
  }();
  (void)loaded;
  return *file.getDataset();
}

void manyByFunction(benchmark::State& state) {
  DcmDataset& dataset = manySmallFrames();
  for (auto _ : state) {
    std::string error;
    for (int frame = 0; frame < kManySmall.frames; ++frame) {
      if (!Zrg::decodeFrame(dataset, static_cast<std::uint64_t>(frame), target().data(),
                            target().size(), error)) {
        state.SkipWithError(error.c_str());
        return;
      }
    }
    benchmark::ClobberMemory();
  }
}
BENCHMARK(manyByFunction)->Name("decode_many/function")->Unit(benchmark::kMillisecond);

void manyByReader(benchmark::State& state) {
  DcmDataset& dataset = manySmallFrames();
  for (auto _ : state) {
    std::string error;
    Zrg::FrameReader reader;
    bool done = reader.open(dataset, error);
    for (int frame = 0; done && frame < kManySmall.frames; ++frame) {
      done =
          reader.decode(static_cast<std::uint64_t>(frame), target().data(), target().size(), error);
    }
    if (!done) {
      state.SkipWithError(error.c_str());
      return;
    }
    benchmark::ClobberMemory();
  }
}
BENCHMARK(manyByReader)->Name("decode_many/reader")->Unit(benchmark::kMillisecond);

}  // namespace
