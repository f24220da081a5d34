// SPDX-License-Identifier: BSD-3-Clause
// The images of a series as the frames of one. They are taken for alike only as far as that is
// true: a file of another kind is refused when its frame is asked for.
#include "zrimaging/Boundary.h"
#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/Frames.h"
#include "zrimaging/Image.h"
#include "zrimaging/MemoryBudget.h"

#include <iterator>
#include <new>
#include <utility>

namespace zr {

namespace {

namespace fs = std::filesystem;

void append(std::vector<Remark>& remarks, std::vector<Remark> more) {
  remarks.insert(remarks.end(), std::make_move_iterator(more.begin()),
                 std::make_move_iterator(more.end()));
}

class SeriesFrames final : public Frames {
public:
  SeriesFrames(std::vector<fs::path> files, const MemoryBudget& memory)
      : files_(std::move(files)),
        memory_(memory),
        first_(framesOf(Image::forDisplay(File(files_.front())), memory)),
        record_(first_->record()),
        line_(lineOfSamples(record_, 0)) {
    record_.overlays.reset();  // they are those of the first file alone
  }

  const FramesRecord& record() const override { return record_; }
  std::size_t count() const override { return files_.size(); }

  SampleArray frame(std::size_t index) override {
    return atBoundary([&] {
      const fs::path& file = files_[index];
      try {
        const Image image = Image::forDisplay(File(file));
        current_ = std::make_unique<DecodedFrames>(
            image.decode({std::nullopt, image.valuesToShow(), false}, memory_));
        requireMatch();
      } catch (const Error& error) {
        throw Error(error.reason(), file.string() + ": " + error.what());
      } catch (const std::bad_alloc&) {
        throw Error(Reason::OutOfMemory, file.string() + ": out of memory");
      }
      if (current_->record().iccProfile != record_.iccProfile) {
        record_.iccProfile.clear();  // one profile is not for colours of another
      }
      append(remarks_, current_->takeRemarks());
      return current_->samples();
    });
  }

  std::vector<Remark> takeRemarks() override {
    return atBoundary([&]() -> std::vector<Remark> {
      append(remarks_, first_->takeRemarks());
      return std::exchange(remarks_, {});
    });
  }

private:
  void requireMatch() const {
    const FrameTraits& first = record_.traits;
    const FrameTraits& own = current_->record().traits;
    if (current_->count() != 1) {
      throw Error(Reason::Unsupported,
                  "has several frames: a sheet of several files wants one frame each");
    }
    if (own.rows != first.rows || own.columns != first.columns || own.channels != first.channels ||
        own.type != first.type || own.darkIsHigh != first.darkIsHigh) {
      throw Error(Reason::Unsupported,
                  "has pixels of another size or kind than " + files_.front().string());
    }
    if (first.monochrome && lineOfSamples(current_->record(), 0) != line_) {
      throw Error(Reason::Unsupported, "has another rescale line than " + files_.front().string());
    }
  }

  std::vector<fs::path> files_;
  MemoryBudget memory_;
  std::unique_ptr<Frames> first_;
  FramesRecord record_;
  std::optional<RescaleLine> line_;
  std::unique_ptr<DecodedFrames> current_;
  std::vector<Remark> remarks_;
};

}  // namespace

std::unique_ptr<Frames> framesOfSeries(std::vector<fs::path> files, const MemoryBudget& memory) {
  return atBoundary([&]() -> std::unique_ptr<Frames> {
    return std::make_unique<SeriesFrames>(std::move(files), memory);
  });
}

}  // namespace zr
