// SPDX-License-Identifier: BSD-3-Clause
// JPEG through libjpeg, baseline, chroma at full resolution: edges in colour stay where
// they are. JFIF has the density in whole pixels per cm, APP2 the ICC profile of colour. The
// picture is encoded into memory first, so that the library's error exit (longjmp) never crosses a
// C++ object.
#include "zrimaging/Error.h"
#include "zrimaging/Output.h"
#include "zrimaging/formats/IccProfile.h"
#include "zrimaging/formats/Writers.h"

#include <cmath>
#include <csetjmp>
#include <cstdint>
#include <cstdio>  // jpeglib.h needs it first
#include <cstdlib>
#include <jpeglib.h>
#include <limits>
#include <span>
#include <string>

namespace zr {

namespace {

/// Pixels per cm; zeros where they are not known.
struct Density {
  std::uint16_t across = 0;
  std::uint16_t down = 0;
};

/// The library's state and what it has written so far.
class JpegEncoder {
public:
  JpegEncoder() {
    state_.err = jpeg_std_error(&errors_);
    errors_.error_exit = leave;
    errors_.emit_message = [](j_common_ptr, int) {};
    errors_.output_message = [](j_common_ptr) {};
    state_.client_data = this;
  }
  ~JpegEncoder() {
    jpeg_destroy_compress(&state_);
    std::free(bytes_);  // NOLINT(cppcoreguidelines-no-malloc): jpeg_mem_dest takes it by malloc
  }
  JpegEncoder(const JpegEncoder&) = delete;
  JpegEncoder& operator=(const JpegEncoder&) = delete;
  JpegEncoder(JpegEncoder&&) = delete;
  JpegEncoder& operator=(JpegEncoder&&) = delete;

  /// Holds nothing that needs destruction: the library leaves it by longjmp on errors.
  bool encode(const SampleArray& frame, int quality, Density density,
              std::span<const unsigned char> profile) {
    if (setjmp(onError_) != 0) {  // NOLINT(cert-err52-cpp): the library's only way to fail
      return false;
    }
    jpeg_create_compress(&state_);
    jpeg_mem_dest(&state_, &bytes_, &size_);
    state_.image_width = static_cast<JDIMENSION>(frame.columns);
    state_.image_height = static_cast<JDIMENSION>(frame.rows);
    state_.input_components = static_cast<int>(frame.channels);
    state_.in_color_space = frame.channels == 3 ? JCS_RGB : JCS_GRAYSCALE;
    jpeg_set_defaults(&state_);
    jpeg_set_quality(&state_, quality, TRUE);
    for (int component = 0; component < state_.num_components; ++component) {
      state_.comp_info[component].h_samp_factor = 1;
      state_.comp_info[component].v_samp_factor = 1;
    }
    setDensity(density);
    jpeg_start_compress(&state_, TRUE);
    if (!profile.empty()) {
      jpeg_write_icc_profile(&state_, profile.data(), static_cast<unsigned>(profile.size()));
    }
    const std::size_t rowBytes = frame.columns * frame.channels;
    while (state_.next_scanline < state_.image_height) {
      // The library takes rows as not const, and only reads them.
      auto* row = const_cast<JSAMPROW>(frame.bytes + state_.next_scanline * rowBytes);
      jpeg_write_scanlines(&state_, &row, 1);
    }
    jpeg_finish_compress(&state_);
    return true;
  }

  const unsigned char* bytes() const { return bytes_; }
  std::size_t size() const { return size_; }
  const char* error() const { return message_; }

private:
  static void leave(j_common_ptr state) {
    auto* encoder = static_cast<JpegEncoder*>(state->client_data);
    state->err->format_message(state, encoder->message_);
    std::longjmp(encoder->onError_, 1);  // NOLINT(cert-err52-cpp): as above
  }

  void setDensity(Density density) {
    constexpr UINT8 kDotsPerCm = 2;
    if (density.across != 0 && density.down != 0) {
      state_.density_unit = kDotsPerCm;
      state_.X_density = density.across;
      state_.Y_density = density.down;
    }
  }

  jpeg_compress_struct state_{};
  jpeg_error_mgr errors_{};
  std::jmp_buf onError_{};
  char message_[JMSG_LENGTH_MAX] = "";
  unsigned char* bytes_ = nullptr;
  unsigned long size_ = 0;
};

// Pixels so large that less than one goes into a cm have no density here.
std::uint16_t perCm(double spacingMm) {
  const double density = std::round(10 / spacingMm);
  const bool fits = density >= 1 && density <= std::numeric_limits<std::uint16_t>::max();
  return fits ? static_cast<std::uint16_t>(density) : 0;
}

void requireJpegSize(const std::filesystem::path& target, const SampleArray& layout) {
  if (layout.columns > JPEG_MAX_DIMENSION || layout.rows > JPEG_MAX_DIMENSION) {
    throw Error(Reason::CannotWrite,
                "cannot make " + target.string() + ": JPEG holds at most " +
                    std::to_string(JPEG_MAX_DIMENSION) +
                    " rows and columns; files of the formats png and tiff hold more");
  }
}

}  // namespace

void writeJpeg(const std::filesystem::path& target, const ProtectedInputs& inputs,
               const ArrayToWrite& array) {
  requireJpegSize(target, array.layout);
  OutputFile file(target, inputs);
  const SampleArray frame = array.frameAt(0);
  const auto& [betweenColumns, betweenRows, ignored] = array.description.spacingMm;
  JpegEncoder encoder;
  if (!encoder.encode(frame, array.quality, {perCm(betweenColumns), perCm(betweenRows)},
                      iccProfileFor(array))) {
    throw Error(Reason::CannotWrite, "cannot make " + target.string() + ": " + encoder.error());
  }
  file.write(encoder.bytes(), encoder.size());
  file.commit();
}

}  // namespace zr
