// SPDX-License-Identifier: BSD-3-Clause
// Memory that runs out leaves the imaging library as zr::Error, wherever it happens: each piece of
// work is done again and again, and each time another of its allocations fails.
#include "imaging/FailingNew.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"
#include "dcmtk/oflog/oflog.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>
#include <zrimaging/Error.h>
#include <zrimaging/File.h>
#include <zrimaging/Formats.h>
#include <zrimaging/FrameAttributes.h>
#include <zrimaging/Frames.h>
#include <zrimaging/Image.h>
#include <zrimaging/MemoryBudget.h>
#include <zrimaging/ObjectFacts.h>
#include <zrimaging/Output.h>
#include <zrimaging/Pictures.h>
#include <zrimaging/Sheets.h>
#include <zrimaging/Splitting.h>
#include <zrimaging/Text.h>
#include <zrimaging/Thumbnails.h>

namespace {

using support::ImageBuilder;

/// What a piece of work finds ready.
struct Workplace {
  support::TempDir folder;
  std::optional<zr::Image> grey;              ///< signed, with overlays in its samples
  std::optional<zr::Image> colour;            ///< several frames
  std::optional<zr::Image> next;              ///< `colour` once more, for those who take it
  std::vector<std::filesystem::path> series;  ///< likewise, of one file
  const std::vector<std::size_t> indices{0, 1, 2};
  const std::filesystem::path target = folder.file("out");
  const std::filesystem::path png = folder.file("out.png");
  const std::filesystem::path jpg = folder.file("out.jpg");
  const zr::OutputFormat* const npy = zr::formatNamed("npy");
  const zr::OutputFormat* const nrrd = zr::formatNamed("nrrd");
  const zr::OutputFormat* const tiff = zr::formatNamed("tiff");
  const zr::ProtectedInputs none;
  const zr::Picture black{8, 8, 1, std::vector<unsigned char>(64)};
  std::optional<zr::DecodedFrames> frames;  ///< of `grey`

  Workplace() {
    const auto open = [&](const ImageBuilder& image, const char* name) {
      support::saveFile(*image.build(), folder.file(name));
      return zr::Image(zr::File(folder.file(name)));
    };
    grey.emplace(open(support::ctSlice(8, 8)
                          .signed16()
                          .bitsStored(12)
                          .frames(3)
                          .samples(std::vector<int>(192, 5))
                          .rescale("2", "-1000")
                          .with(DCM_WindowCenter, "40")
                          .with(DCM_WindowWidth, "400"),
                      "grey.dcm"));
    colour.emplace(
        open(support::rgbImage(8, 8).frames(3).samples(std::vector<int>(576, 5)), "colour.dcm"));
    frames.emplace(grey->decode({}, zr::MemoryBudget{}));
  }

  void write(const zr::OutputFormat* format) const {
    zr::writeArray(*format, target, none,
                   zr::arrayOf(frames->samples(), zr::describeArray(frames->record(), indices)));
  }

  void writeBlack(const std::filesystem::path& picture) const {
    zr::writePicture(picture, none, black.view());
  }

  void prepareGo() {
    next.emplace(zr::File(folder.file("colour.dcm")));
    series = {folder.file("grey.dcm")};
  }
};

struct Work {
  const char* name;
  std::function<void(Workplace&)> work;
};

void PrintTo(const Work& work, std::ostream* stream) {
  *stream << work.name;
}

class Shortage : public testing::TestWithParam<Work> {};

/// What became of one go.
enum class End { kDone, kError, kAnotherException };

End endOf(const Work& work, Workplace& workplace) {
  try {
    work.work(workplace);
  } catch (const zr::Error&) {
    return End::kError;
  } catch (...) {
    return End::kAnotherException;
  }
  return End::kDone;
}

TEST_P(Shortage, LeavesTheLibraryAsAnError) {
  OFLog::configure(OFLogger::OFF_LOG_LEVEL);
  Workplace workplace;
  workplace.prepareGo();
  ASSERT_EQ(endOf(GetParam(), workplace), End::kDone);  // what is made once is made

  long errors = 0;
  for (long allocation = 0;; ++allocation) {
    workplace.prepareGo();
    failing_new::failAfter(allocation);
    const End end = endOf(GetParam(), workplace);
    const bool failed = failing_new::hasFailed();
    ASSERT_NE(end, End::kAnotherException) << "allocation " << allocation;
    errors += end == End::kError ? 1 : 0;
    if (!failed) {
      break;  // all allocations had their turn
    }
  }

  EXPECT_GT(errors, 0);
}

zr::SampleArray layout() {
  return {nullptr, zr::SampleType::kU8, 1, 8, 8, 1};
}

INSTANTIATE_TEST_SUITE_P(
    Library, Shortage,
    testing::Values(
        Work{"DescribingAnObject",
             [](Workplace& at) { (void)zr::describeObject(at.grey->file()); }},
        Work{"AttributesOfFrames",
             [](Workplace& at) { (void)zr::readFrameAttributes(at.grey->file().dataset(), 3); }},
        Work{"DescribingFrames",
             [](Workplace& at) {
               (void)zr::describeFrames(std::move(*at.next), zr::MemoryBudget{});
             }},
        Work{"Traits", [](Workplace& at) { (void)at.grey->traits(); }},
        Work{"Decoding", [](Workplace& at) { (void)at.grey->decode({}, zr::MemoryBudget{}); }},
        Work{"DecodingIntoMemory",
             [](Workplace& at) {
               std::array<char, 384> target{};
               (void)at.grey->decodeInto({}, zr::MemoryBudget{}, target.data(), target.size());
             }},
        Work{"ColourFrames",
             [](Workplace& at) {
               const auto frames = zr::framesOf(std::move(*at.next), zr::MemoryBudget{});
               (void)frames->frame(2);
             }},
        Work{"FramesOfASeries",
             [](Workplace& at) {
               (void)zr::framesOfSeries(std::move(at.series), zr::MemoryBudget{});
             }},
        Work{"DescriptionOfAnArray",
             [](Workplace& at) { (void)zr::describeArray(at.frames->record(), at.indices); }},
        Work{"Splitting", [](Workplace& at) { (void)zr::readSplitting(at.grey->file()); }},
        Work{"Display", [](Workplace& at) { (void)zr::displayOf(*at.frames, 3, std::nullopt); }},
        Work{"Rendering",
             [](Workplace& at) {
               (void)zr::renderFrame(at.frames->record().traits, at.frames->frame(0), {});
             }},
        Work{"Overlays",
             [](Workplace& at) { (void)zr::burnOverlays(at.black, at.frames->record(), 0); }},
        Work{"Sheet",
             [](Workplace& at) {
               zr::SheetLayout layout;
               (void)zr::drawContactSheet(*at.frames, zr::allFrames(*at.frames, std::nullopt),
                                          layout);
             }},
        Work{"Thumbnail",
             [](Workplace& at) {
               (void)zr::Thumbnailer(layout(), 4, 4).render(at.frames->frame(0));
             }},
        Work{"ModalityValues",
             [](Workplace& at) {
               (void)at.grey->decode({std::nullopt, zr::Values::kModality, false}, {});
             }},
        Work{"DisplayedValues",
             [](Workplace& at) {
               (void)at.grey->decode({std::nullopt, zr::Values::kDisplay, false}, {});
             }},
        Work{"StoredColours",
             [](Workplace& at) {
               (void)at.colour->decode({std::nullopt, zr::Values::kStored, false}, {});
             }},
        Work{"Npy", [](Workplace& at) { at.write(at.npy); }},
        Work{"Nrrd", [](Workplace& at) { at.write(at.nrrd); }},
        Work{"Tiff", [](Workplace& at) { at.write(at.tiff); }},
        Work{"Png", [](Workplace& at) { at.writeBlack(at.png); }},
        Work{"Jpeg", [](Workplace& at) { at.writeBlack(at.jpg); }},
        Work{"EscapedText",
             [](Workplace&) { (void)zr::withEscapedBytes("\xE9\xE9\xE9\xE9\xE9"); }}),
    support::nameOf<Work>);

}  // namespace
