// SPDX-License-Identifier: BSD-3-Clause
#include "imaging/formats/ReadJpeg.h"

#include <cstdio>  // jpeglib.h needs it first
#include <cstdlib>
#include <jpeglib.h>

namespace {

// No exception may pass through libjpeg, and what it does not read is the end of a test.
[[noreturn]] void fail(j_common_ptr state) {
  state->err->output_message(state);
  std::abort();
}

struct Decoder {
  Decoder() {
    state.err = jpeg_std_error(&errors);
    errors.error_exit = fail;
    jpeg_create_decompress(&state);
  }
  ~Decoder() { jpeg_destroy_decompress(&state); }
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;
  Decoder(Decoder&&) = delete;
  Decoder& operator=(Decoder&&) = delete;

  jpeg_decompress_struct state{};
  jpeg_error_mgr errors{};
};

std::string profileOf(jpeg_decompress_struct& state) {
  JOCTET* bytes = nullptr;
  unsigned count = 0;
  if (jpeg_read_icc_profile(&state, &bytes, &count) == FALSE) {
    return "";
  }
  std::string profile(reinterpret_cast<const char*>(bytes), count);
  std::free(bytes);
  return profile;
}

}  // namespace

Jpeg readJpeg(const std::string& bytes) {
  Decoder decoder;
  jpeg_decompress_struct& state = decoder.state;
  jpeg_mem_src(&state, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
  jpeg_save_markers(&state, JPEG_APP0 + 2, 0xFFFF);
  (void)jpeg_read_header(&state, TRUE);
  Jpeg jpeg;
  jpeg.columns = state.image_width;
  jpeg.rows = state.image_height;
  jpeg.channels = state.num_components;
  jpeg.densityUnit = state.density_unit;
  jpeg.densityAcross = state.X_density;
  jpeg.densityDown = state.Y_density;
  jpeg.firstQuantizer = state.quant_tbl_ptrs[0]->quantval[0];
  for (int component = 0; component < state.num_components; ++component) {
    jpeg.samplingFactors.push_back(state.comp_info[component].h_samp_factor);
    jpeg.samplingFactors.push_back(state.comp_info[component].v_samp_factor);
  }
  jpeg.iccProfile = profileOf(state);
  (void)jpeg_start_decompress(&state);
  const std::size_t rowBytes = jpeg.columns * static_cast<std::size_t>(state.output_components);
  jpeg.samples.resize(jpeg.rows * rowBytes);
  while (state.output_scanline < state.output_height) {
    JSAMPROW row = jpeg.samples.data() + state.output_scanline * rowBytes;
    (void)jpeg_read_scanlines(&state, &row, 1);
  }
  (void)jpeg_finish_decompress(&state);
  return jpeg;
}
