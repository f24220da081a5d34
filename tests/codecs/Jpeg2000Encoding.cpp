// SPDX-License-Identifier: BSD-3-Clause
#include "codecs/Jpeg2000Encoding.h"

#include "support/Compression.h"

#include "dcmtk/dcmdata/dcpxitem.h"

#include <algorithm>
#include <cstring>
#include <openjpeg.h>
#include <stdexcept>
#include <string>

namespace jpeg2000 {

namespace {

void require(bool isDone, const char* what) {
  if (!isDone) {
    throw std::logic_error(what);
  }
}

OPJ_SIZE_T write(void* buffer, OPJ_SIZE_T count, void* data) {
  auto& sink = *static_cast<std::pair<std::vector<Uint8>, std::size_t>*>(data);
  sink.first.resize(std::max(sink.first.size(), sink.second + count));
  std::memcpy(sink.first.data() + sink.second, buffer, count);
  sink.second += count;
  return count;
}
OPJ_OFF_T skip(OPJ_OFF_T count, void* data) {
  static_cast<std::pair<std::vector<Uint8>, std::size_t>*>(data)->second +=
      static_cast<std::size_t>(count);
  return count;
}
OPJ_BOOL seek(OPJ_OFF_T position, void* data) {
  static_cast<std::pair<std::vector<Uint8>, std::size_t>*>(data)->second =
      static_cast<std::size_t>(position);
  return OPJ_TRUE;
}

opj_cparameters_t parametersFor(const Settings& settings, unsigned int components) {
  opj_cparameters_t parameters;
  opj_set_default_encoder_parameters(&parameters);
  parameters.numresolution = settings.levels + 1;
  parameters.tcp_numlayers = settings.layers;
  parameters.cp_disto_alloc = 1;
  for (int i = 0; i < settings.layers; ++i) {
    // Each layer halves the compression of the one before; the last has the one asked for.
    const int left = settings.layers - 1 - i;
    const float last = settings.ratio > 0 ? settings.ratio : 1;
    parameters.tcp_rates[i] =
        left == 0 ? (settings.ratio > 0 ? last : 0) : last * 4 * static_cast<float>(left);
  }
  parameters.irreversible = settings.ratio > 0 ? 1 : 0;
  parameters.prog_order = static_cast<OPJ_PROG_ORDER>(settings.order);
  parameters.tcp_mct = components == 3 && settings.hasColourTransform ? 1 : 0;
  if (settings.tileSize > 0) {
    parameters.tile_size_on = OPJ_TRUE;
    parameters.cp_tdx = parameters.cp_tdy = settings.tileSize;
  }
  if (settings.precinctExponent > 0) {
    parameters.csty |= 1;
    parameters.res_spec = 1;
    parameters.prcw_init[0] = parameters.prch_init[0] = 1 << settings.precinctExponent;
  }
  if (settings.hasMarkers) {
    parameters.csty |= 6;
  }
  return parameters;
}

struct Destroy {
  void operator()(opj_image_t* image) const { opj_image_destroy(image); }
};

std::unique_ptr<opj_image_t, Destroy> imageOf(const std::vector<int>& samples, unsigned int columns,
                                              unsigned int rows, unsigned int components,
                                              const Settings& settings) {
  std::vector<opj_image_cmptparm_t> parts(components);
  for (unsigned int i = 0; i < components; ++i) {
    const unsigned int distance = i == 0 ? 1 : settings.chroma;
    parts[i] = {};
    parts[i].dx = parts[i].dy = distance;
    parts[i].w = (columns + distance - 1) / distance;
    parts[i].h = (rows + distance - 1) / distance;
    parts[i].prec = settings.bits;
    parts[i].sgnd = settings.isSigned ? 1 : 0;
  }
  std::unique_ptr<opj_image_t, Destroy> image(opj_image_create(
      components, parts.data(), components == 3 ? OPJ_CLRSPC_SRGB : OPJ_CLRSPC_GRAY));
  require(image != nullptr, "no image");
  image->x1 = columns;
  image->y1 = rows;
  for (unsigned int i = 0; i < components; ++i) {
    const opj_image_cmptparm_t& part = parts[i];
    for (unsigned int y = 0; y < part.h; ++y) {
      for (unsigned int x = 0; x < part.w; ++x) {
        const std::size_t pixel = std::size_t{y} * part.dy * columns + std::size_t{x} * part.dx;
        image->comps[i].data[std::size_t{y} * part.w + x] = samples.at(pixel * components + i);
      }
    }
  }
  return image;
}

}  // namespace

std::vector<Uint8> encode(const std::vector<int>& samples, unsigned int columns, unsigned int rows,
                          unsigned int components, const Settings& settings) {
  const auto image = imageOf(samples, columns, rows, components, settings);
  opj_cparameters_t parameters = parametersFor(settings, components);
  std::pair<std::vector<Uint8>, std::size_t> sink;
  opj_codec_t* const codec = opj_create_compress(settings.isFile ? OPJ_CODEC_JP2 : OPJ_CODEC_J2K);
  opj_stream_t* const stream = opj_stream_default_create(OPJ_FALSE);
  opj_stream_set_user_data(stream, &sink, nullptr);
  opj_stream_set_write_function(stream, &write);
  opj_stream_set_skip_function(stream, &skip);
  opj_stream_set_seek_function(stream, &seek);
  const bool isDone = opj_setup_encoder(codec, &parameters, image.get()) == OPJ_TRUE &&
                      opj_start_compress(codec, image.get(), stream) == OPJ_TRUE &&
                      opj_encode(codec, stream) == OPJ_TRUE &&
                      opj_end_compress(codec, stream) == OPJ_TRUE;
  opj_stream_destroy(stream);
  opj_destroy_codec(codec);
  require(isDone, "OpenJPEG does not encode");
  return sink.first;
}

std::unique_ptr<DcmDataset> encapsulate(const DcmDataset& native,
                                        const std::vector<std::vector<Uint8>>& frames,
                                        const Encapsulation& how, E_TransferSyntax syntax) {
  auto* const sequence = new DcmPixelSequence(DcmTag(DCM_PixelData, EVR_OB));
  auto* const table = new DcmPixelItem(DcmTag(DCM_Item, EVR_OB));
  require(sequence->insert(table).good(), "no offset table");
  std::vector<Uint8> offsets;
  Uint32 offset = how.table == Encapsulation::Table::Wrong ? 4 : 0;
  for (std::vector<Uint8> frame : frames) {
    frame.resize(frame.size() + frame.size() % 2);
    for (unsigned int shift = 0; shift < 32; shift += 8) {
      offsets.push_back(static_cast<Uint8>(offset >> shift));
    }
    const std::size_t length = (frame.size() / how.fragmentsOfAFrame + 1) / 2 * 2;
    for (unsigned int i = 0; i < how.fragmentsOfAFrame; ++i) {
      const std::size_t begin = i * length;
      const std::size_t end = i + 1 == how.fragmentsOfAFrame ? frame.size() : begin + length;
      auto* const fragment = new DcmPixelItem(DcmTag(DCM_Item, EVR_OB));
      require(
          fragment->putUint8Array(frame.data() + begin, static_cast<Uint32>(end - begin)).good() &&
              sequence->insert(fragment).good(),
          "no fragment");
      offset += static_cast<Uint32>(end - begin) + 8;
    }
  }
  if (how.table != Encapsulation::Table::Empty) {
    require(table->putUint8Array(offsets.data(), static_cast<Uint32>(offsets.size())).good(),
            "no offsets");
  }
  DcmDataset copy(native);
  delete copy.remove(DCM_PixelData);
  auto* const pixelData = new DcmPixelData(DcmTag(DCM_PixelData, EVR_OB));
  pixelData->putOriginalRepresentation(syntax, nullptr, sequence);
  require(copy.insert(pixelData, true).good(), "no pixel data");
  copy.updateOriginalXfer();
  return support::readBack(copy, syntax);
}

namespace {

Uint16 attribute(DcmItem& item, const DcmTagKey& key) {
  Uint16 value = 0;
  require(item.findAndGetUint16(key, value).good(), "an attribute is missing");
  return value;
}

std::vector<int> numbersOf(DcmItem& item) {
  const bool isSigned = attribute(item, DCM_PixelRepresentation) == 1;
  const int bits = attribute(item, DCM_BitsStored);
  std::vector<int> numbers;
  const Uint8* bytes = nullptr;
  const Uint16* words = nullptr;
  unsigned long count = 0;
  if (attribute(item, DCM_BitsAllocated) == 8) {
    require(item.findAndGetUint8Array(DCM_PixelData, bytes, &count).good(), "no bytes");
    numbers.assign(bytes, bytes + count);
  } else {
    require(item.findAndGetUint16Array(DCM_PixelData, words, &count).good(), "no words");
    numbers.assign(words, words + count);
  }
  for (int& number : numbers) {
    number &= (1 << bits) - 1;
    number -= isSigned && number >> (bits - 1) != 0 ? 1 << bits : 0;
  }
  return numbers;
}

/// Pixel by pixel, whatever Planar Configuration says.
std::vector<int> interleaved(const std::vector<int>& numbers, std::size_t components,
                             bool isPlanar) {
  std::vector<int> sorted(numbers);
  const std::size_t pixels = numbers.size() / components;
  for (std::size_t i = 0; isPlanar && i < numbers.size(); ++i) {
    sorted[i] = numbers[i % components * pixels + i / components];
  }
  return sorted;
}

}  // namespace

std::vector<std::vector<int>> framesOf(DcmDataset& native) {
  const std::vector<int> numbers = numbersOf(native);
  const std::size_t components = attribute(native, DCM_SamplesPerPixel);
  const std::size_t size =
      std::size_t{1} * attribute(native, DCM_Columns) * attribute(native, DCM_Rows) * components;
  Uint16 planar = 0;
  (void)native.findAndGetUint16(DCM_PlanarConfiguration, planar);
  std::vector<std::vector<int>> frames;
  for (auto begin = numbers.begin(); numbers.end() - begin >= static_cast<std::ptrdiff_t>(size);
       begin += static_cast<std::ptrdiff_t>(size)) {
    frames.push_back(
        interleaved({begin, begin + static_cast<std::ptrdiff_t>(size)}, components, planar == 1));
  }
  return frames;
}

std::unique_ptr<DcmDataset> twinOf(const DcmDataset& native, const Settings& settings,
                                   const Encapsulation& how,
                                   const std::function<void(std::vector<Uint8>&)>& changeStream) {
  DcmDataset copy(native);
  std::vector<std::vector<Uint8>> streams;
  for (const std::vector<int>& frame : framesOf(copy)) {
    streams.push_back(encode(frame, attribute(copy, DCM_Columns), attribute(copy, DCM_Rows),
                             attribute(copy, DCM_SamplesPerPixel), settings));
    if (changeStream) {
      changeStream(streams.back());
    }
  }
  return encapsulate(native, streams, how, settings.ratio > 0 ? EXS_JPEG2000 : settings.syntax);
}

}  // namespace jpeg2000
