// SPDX-License-Identifier: BSD-3-Clause
// PNG through libpng. The picture is encoded into memory first, so that libpng's error handling
// (longjmp) never crosses a C++ object.
#include "zrimaging/Error.h"
#include "zrimaging/Output.h"
#include "zrimaging/formats/IccProfile.h"
#include "zrimaging/formats/Writers.h"

#include <png.h>

#include <bit>
#include <cmath>
#include <csetjmp>
#include <new>
#include <span>
#include <string>
#include <vector>

namespace zr {

namespace {

struct PngEncoder {
  std::vector<unsigned char> bytes;
  std::string error;
  std::string warning;          ///< the latest
  bool profileRefused = false;  ///< libpng found the ICC profile wrong
};

void appendBytes(png_structp png, png_bytep bytes, png_size_t count) {
  auto* encoder = static_cast<PngEncoder*>(png_get_io_ptr(png));
  try {
    encoder->bytes.insert(encoder->bytes.end(), bytes, bytes + count);
  } catch (const std::bad_alloc&) {
    png_error(png, "out of memory");  // an exception must not pass through C code
  }
}

void flushNothing(png_structp) {}

void keepPngError(png_structp png, png_const_charp message) {
  static_cast<PngEncoder*>(png_get_error_ptr(png))->error = message;
  longjmp(png_jmpbuf(png), 1);
}

void keepWarning(png_structp png, png_const_charp message) {
  static_cast<PngEncoder*>(png_get_error_ptr(png))->warning = message;
}

/// Pixels per metre; 0 where it is not known.
struct Density {
  png_uint_32 across = 0;
  png_uint_32 down = 0;
};

// Pixels so large or so small that their number does not fit have no density here.
png_uint_32 perMetre(double spacingMm) {
  const double density = std::round(1000 / spacingMm);
  return density >= 1 && density <= PNG_UINT_31_MAX ? static_cast<png_uint_32>(density) : 0;
}

// Holds nothing that needs destruction: libpng leaves it by longjmp on errors.
bool encodePng(png_structp png, png_infop info, const SampleArray& frame, Density density,
               std::span<const unsigned char> profile, png_bytepp rows) {
  if (setjmp(png_jmpbuf(png)) != 0) {  // NOLINT(cert-err52-cpp): libpng's only way to fail
    return false;
  }
  const bool twoBytes = bytesOf(frame.type) == 2;
  png_set_IHDR(png, info, static_cast<png_uint_32>(frame.columns),
               static_cast<png_uint_32>(frame.rows), twoBytes ? 16 : 8,
               frame.channels == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (!profile.empty()) {
    png_set_benign_errors(png, 1);  // a profile that libpng does not like is a warning
    png_set_iCCP(png, info, "ICC profile", PNG_COMPRESSION_TYPE_BASE, profile.data(),
                 static_cast<png_uint_32>(profile.size()));
    static_cast<PngEncoder*>(png_get_error_ptr(png))->profileRefused =
        png_get_valid(png, info, PNG_INFO_iCCP) == 0;
  }
  if (density.across != 0 && density.down != 0) {
    png_set_pHYs(png, info, density.across, density.down, PNG_RESOLUTION_METER);
  }
  png_write_info(png, info);
  if (twoBytes && std::endian::native == std::endian::little) {
    png_set_swap(png);  // PNG is big endian
  }
  png_write_image(png, rows);
  png_write_end(png, info);
  return true;
}

std::vector<png_bytep> rowPointers(const SampleArray& frame) {
  std::vector<png_bytep> rows(frame.rows);
  const std::size_t rowBytes = frame.columns * frame.channels * bytesOf(frame.type);
  for (std::size_t y = 0; y < frame.rows; ++y) {
    // libpng takes rows as not const, and only reads them.
    rows[y] = const_cast<png_bytep>(frame.bytes + y * rowBytes);
  }
  return rows;
}

}  // namespace

void writePng(const std::filesystem::path& target, const ProtectedInputs& inputs,
              const ArrayToWrite& array) {
  OutputFile file(target, inputs);
  const SampleArray frame = array.frameAt(0);
  PngEncoder encoder;
  std::vector<png_bytep> rows = rowPointers(frame);
  png_structp png =
      png_create_write_struct(PNG_LIBPNG_VER_STRING, &encoder, keepPngError, keepWarning);
  png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);
  if (info == nullptr) {
    png_destroy_write_struct(&png, &info);
    throw std::bad_alloc();
  }
  png_set_write_fn(png, &encoder, appendBytes, flushNothing);
  const auto& [betweenColumns, betweenRows, ignored] = array.description.spacingMm;
  const bool encoded =
      encodePng(png, info, frame, {perMetre(betweenColumns), perMetre(betweenRows)},
                iccProfileFor(array), rows.data());
  png_destroy_write_struct(&png, &info);
  if (!encoded) {
    throw Error(Reason::CannotWrite, "cannot make " + target.string() + ": " + encoder.error);
  }
  if (encoder.profileRefused) {
    remarkOnIccProfile(array, encoder.warning);
  }
  file.write(encoder.bytes.data(), encoder.bytes.size());
  file.commit();
}

}  // namespace zr
