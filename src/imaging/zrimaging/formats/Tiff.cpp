// SPDX-License-Identifier: BSD-3-Clause
// TIFF through libtiff: every frame is a page, strip by strip, in the byte order of this machine.
//
//   SampleFormat, BitsPerSample  the type of the samples
//   Compression, Predictor       none; on request deflate of differences between neighbours, which
//                                is what makes samples of 16 bits and floating point small. None by
//                                default: such a file can be mapped into memory, and is written at
//                                the speed of the disk.
//   XResolution, YResolution     pixels per cm, where the spacing of the pixels is known
//   ImageDescription             of the first page: a line "key: value" for all that is known
//   ICC profile (34675)          of colour
//
// libtiff seeks, so it writes into a file of its own that is copied to where no file can be. It
// reports errors and warnings to handlers of the one file; nothing is printed.
#include "zrimaging/formats/Tiff.h"

#include "zrimaging/Error.h"
#include "zrimaging/formats/Gzip.h"
#include "zrimaging/formats/HeaderText.h"
#include "zrimaging/formats/IccProfile.h"
#include "zrimaging/formats/Writers.h"
#include "zrimaging/output/LibraryFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <sys/stat.h>
#include <tiffio.h>
#include <unistd.h>
#include <utility>

namespace zr {

namespace {

constexpr std::uint64_t kStripBytes = std::uint64_t{256} << 10U;

/// The file beneath libtiff, and the first thing that went wrong with it.
struct Storage {
  int descriptor = -1;
  int error = 0;  ///< errno of a write that failed
  std::array<char, 256> message{};

  Storage() = default;
  ~Storage() {
    if (descriptor >= 0) {
      (void)close(descriptor);  // a good end has closed it before
    }
  }
  Storage(const Storage&) = delete;
  Storage& operator=(const Storage&) = delete;
  Storage(Storage&&) = delete;
  Storage& operator=(Storage&&) = delete;
};

Storage& storageOf(thandle_t handle) {
  return *static_cast<Storage*>(handle);
}

tmsize_t readStored(thandle_t handle, void* bytes, tmsize_t count) {
  return read(storageOf(handle).descriptor, bytes, static_cast<std::size_t>(count));
}

tmsize_t writeBytes(thandle_t handle, void* bytes, tmsize_t count) {
  tmsize_t done = 0;
  while (done < count) {
    const ssize_t taken = write(storageOf(handle).descriptor, static_cast<char*>(bytes) + done,
                                static_cast<std::size_t>(count - done));
    if (taken < 0 && errno != EINTR) {
      storageOf(handle).error = errno;
      return -1;
    }
    done += std::max<ssize_t>(taken, 0);
  }
  return done;
}

toff_t seekTo(thandle_t handle, toff_t offset, int whence) {
  return static_cast<toff_t>(
      lseek(storageOf(handle).descriptor, static_cast<off_t>(offset), whence));
}

// The file is closed by its owner, who looks at what that says.
int leaveOpen(thandle_t) {
  return 0;
}

toff_t sizeOf(thandle_t handle) {
  struct stat status {};
  return fstat(storageOf(handle).descriptor, &status) == 0 ? static_cast<toff_t>(status.st_size)
                                                           : 0;
}

constexpr int kHandled = 1;  // libtiff tells nobody else then

int keepTiffError(TIFF*, void* storage, const char*, const char* format, std::va_list arguments) {
  auto& message = static_cast<Storage*>(storage)->message;
  if (message.front() == '\0') {  // what follows are consequences
    (void)std::vsnprintf(message.data(), message.size(), format, arguments);
  }
  return kHandled;
}

int ignoreWarning(TIFF*, void*, const char*, const char*, std::va_list) {
  return kHandled;
}

struct TiffCloser {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffHandle = std::unique_ptr<TIFF, TiffCloser>;

TiffHandle openTiff(Storage& storage, bool big) {
  struct Freer {
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
  };
  const std::unique_ptr<TIFFOpenOptions, Freer> options(TIFFOpenOptionsAlloc());
  if (!options) {
    throw std::bad_alloc();
  }
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), keepTiffError, &storage);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), ignoreWarning, nullptr);
  return TiffHandle(TIFFClientOpenExt("TIFF", big ? "w8" : "w", &storage, readStored, writeBytes,
                                      seekTo, leaveOpen, sizeOf, nullptr, nullptr, options.get()));
}

std::uint16_t sampleFormatOf(SampleType type) {
  if (isFloatingPoint(type)) {
    return SAMPLEFORMAT_IEEEFP;
  }
  return isSigned(type) ? SAMPLEFORMAT_INT : SAMPLEFORMAT_UINT;
}

std::string descriptionText(const ArrayDescription& description) {
  std::string text;
  if (!description.content.empty()) {
    text += "content: " + oneLine(description.content) + "\n";
  }
  const std::string spacings = spacingsText(description, "unknown");
  if (!spacings.empty()) {
    text += "spacings:" + spacings + "\n";
  }
  for (const auto& [key, value] : description.attributes) {
    text += key + ": " + oneLine(value) + "\n";
  }
  return text;
}

/// What all pages of a file have in common.
class Pages {
public:
  Pages(TIFF* tiff, const ArrayToWrite& array)
      : tiff_(tiff), array_(array), profile_(iccProfileFor(array)) {}

  bool write(std::size_t index) {
    const SampleArray frame = array_.frameAt(index);
    return setShape() && setCompression() && setResolution() && setDescription(index) &&
           setProfile() && writeStrips(frame) && TIFFWriteDirectory(tiff_) == 1;
  }

private:
  template <class... Values>
  bool set(std::uint32_t tag, Values... values) {
    return TIFFSetField(tiff_, tag, values...) == 1;
  }

  std::uint64_t rowBytes() const {
    return array_.layout.columns * array_.layout.channels * bytesOf(array_.layout.type);
  }

  std::uint32_t rowsPerStrip() const {
    const std::uint64_t rows =
        std::max<std::uint64_t>(kStripBytes / std::max<std::uint64_t>(rowBytes(), 1), 1);
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(rows, array_.layout.rows));
  }

  bool setShape() {
    const SampleArray& layout = array_.layout;
    return set(TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(layout.columns)) &&
           set(TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(layout.rows)) &&
           set(TIFFTAG_BITSPERSAMPLE, static_cast<int>(8 * bytesOf(layout.type))) &&
           set(TIFFTAG_SAMPLEFORMAT, int{sampleFormatOf(layout.type)}) &&
           set(TIFFTAG_SAMPLESPERPIXEL, static_cast<int>(layout.channels)) &&
           set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
           set(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) &&
           set(TIFFTAG_PHOTOMETRIC,
               layout.channels == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK) &&
           set(TIFFTAG_ROWSPERSTRIP, rowsPerStrip()) &&
           (layout.frames == 1 || set(TIFFTAG_SUBFILETYPE, FILETYPE_PAGE));
  }

  bool setCompression() {
    if (!array_.compressed) {
      return set(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    }
    return set(TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE) &&
           set(TIFFTAG_ZIPQUALITY, kDeflateLevel) &&
           set(TIFFTAG_PREDICTOR, isFloatingPoint(array_.layout.type) ? PREDICTOR_FLOATINGPOINT
                                                                      : PREDICTOR_HORIZONTAL);
  }

  bool setResolution() {
    constexpr double kMmPerCm = 10;
    const auto& [betweenColumns, betweenRows, ignored] = array_.description.spacingMm;
    if (!(betweenColumns > 0 && betweenRows > 0)) {
      return true;
    }
    return set(TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER) &&
           set(TIFFTAG_XRESOLUTION, kMmPerCm / betweenColumns) &&
           set(TIFFTAG_YRESOLUTION, kMmPerCm / betweenRows);
  }

  bool setDescription(std::size_t index) {
    const std::string text = index == 0 ? descriptionText(array_.description) : "";
    return text.empty() || set(TIFFTAG_IMAGEDESCRIPTION, text.c_str());
  }

  bool setProfile() {
    return profile_.empty() ||
           set(TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(profile_.size()), profile_.data());
  }

  bool writeStrips(const SampleArray& frame) {
    std::uint32_t strip = 0;
    for (std::size_t row = 0; row < frame.rows; row += rowsPerStrip(), ++strip) {
      const std::size_t rows = std::min<std::size_t>(rowsPerStrip(), frame.rows - row);
      // libtiff takes samples as not const, and only reads them in the machine's byte order.
      void* const bytes = const_cast<unsigned char*>(frame.bytes + row * rowBytes());
      if (TIFFWriteEncodedStrip(tiff_, strip, bytes, static_cast<tmsize_t>(rows * rowBytes())) <
          0) {
        return false;
      }
    }
    return true;
  }

  TIFF* tiff_;
  const ArrayToWrite& array_;
  std::span<const unsigned char> profile_;
};

bool writePages(Storage& storage, const ArrayToWrite& array) {
  const TiffHandle tiff = openTiff(storage, needsBigTiff(array));
  if (!tiff) {
    return false;
  }
  Pages pages(tiff.get(), array);
  for (std::size_t index = 0; index < array.layout.frames; ++index) {
    if (!pages.write(index)) {
      return false;
    }
  }
  return TIFFFlush(tiff.get()) == 1;
}

void requireTiffSize(const std::filesystem::path& target, const SampleArray& layout) {
  constexpr std::size_t kMost = std::numeric_limits<std::uint32_t>::max();
  if (layout.columns > kMost || layout.rows > kMost) {
    throw Error(Reason::CannotWrite, "cannot make " + target.string() +
                                         ": TIFF holds at most 4294967295 rows and columns");
  }
}

}  // namespace

bool needsBigTiff(const ArrayToWrite& array) {
  // Of a page besides its samples: directory and profile, and two numbers of each strip. The rest
  // of 4 GiB is more than any description takes.
  const std::uint64_t pageBytes = 4096 + array.description.iccProfile.size();
  constexpr std::uint64_t kClassicBytes = std::uint64_t{4000} << 20U;
  const SampleArray& layout = array.layout;
  const std::uint64_t samples = std::uint64_t{layout.frameBytes()} * layout.frames;
  const std::uint64_t strips = samples / kStripBytes + layout.frames * (layout.rows + 1);
  return samples + layout.frames * pageBytes + 2 * sizeof(std::uint32_t) * strips > kClassicBytes;
}

void writeTiff(const std::filesystem::path& target, const ProtectedInputs& inputs,
               const ArrayToWrite& array) {
  requireTiffSize(target, array.layout);
  LibraryFile file(target, inputs);
  Storage storage;
  constexpr mode_t kNew = 0666;
  storage.descriptor =
      open((file.folder() / file.name()).c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kNew);
  if (storage.descriptor < 0) {
    failWriting(target, errno);
  }
  const bool written = writePages(storage, array);
  if (storage.error != 0) {
    failWriting(target, storage.error);
  }
  if (!written) {
    throw Error(Reason::CannotWrite,
                "cannot make " + target.string() + ": " + storage.message.data());
  }
  // Some file systems tell of a full disk only now.
  if (close(std::exchange(storage.descriptor, -1)) != 0) {
    failWriting(target, errno);
  }
  file.commit(array.compressed ? 1 : array.layout.byteCount());
}

}  // namespace zr
