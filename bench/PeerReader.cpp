// SPDX-License-Identifier: BSD-3-Clause
// One piece of work in a process of its own, so that its peak memory can be told; bench/peers.py
// runs it beside other readers. Prints the CPU time of the work in milliseconds.
//
//   phantom FILE SYNTAX FRAMES   writes a phantom: native, rle, jpeg_lossless, jpeg_ls
//   series FOLDER COUNT          writes the images of a series
//   library FILE                 all frames as unsigned samples
//   dcmtk FILE                   all frames as DCMTK hands them out
//   dicomimage FILE              all frames through DCMTK's DicomImage, as stored values
//   gdcm FILE                    all frames through GDCM
//   headers FOLDER               loads all files of a folder with DCMTK
#include "PhantomFile.h"

#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/dcmdata/dcrledrg.h"
#include "dcmtk/dcmimage/diregist.h"
#include "dcmtk/dcmimgle/dcmimage.h"
#include "dcmtk/dcmjpeg/djdecode.h"
#include "dcmtk/dcmjpls/djdecode.h"

#if defined(ZR_BENCH_HAS_GDCM)
#include <gdcmImageReader.h>
#endif

#include <cstdio>
#include <ctime>
#include <functional>
#include <map>
#include <stdexcept>
#include <vector>

namespace {

namespace fs = std::filesystem;

double cpuMilliseconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

void require(bool condition, const char* what) {
  if (!condition) {
    throw std::runtime_error(what);
  }
}

void registerDecoders() {
  DcmRLEDecoderRegistration::registerCodecs();
  DJDecoderRegistration::registerCodecs(EDC_guessLossyOnly);
  DJLSDecoderRegistration::registerCodecs();
}

void readByLibrary(const char* path) {
  DcmFileFormat file;
  bench::check(file.loadFile(path));
  Zrg::SliceImage slice;
  std::string error;
  if (!slice.process(*file.getDataset(), error, -1, -1, nullptr, 0)) {
    throw std::runtime_error(error);
  }
}

void readByDcmtk(const char* path) {
  registerDecoders();
  DcmFileFormat file;
  const Uint16* samples = nullptr;
  bench::check(file.loadFile(path));
  bench::check(file.getDataset()->chooseRepresentation(EXS_LittleEndianExplicit, nullptr));
  bench::check(file.getDataset()->findAndGetUint16Array(DCM_PixelData, samples));
}

void readByDicomImage(const char* path) {
  registerDecoders();
  const DicomImage image(path);
  require(image.getStatus() == EIS_Normal && image.getInterData() != nullptr,
          "DicomImage cannot read the file");
}

void readByGdcm([[maybe_unused]] const char* path) {
#if defined(ZR_BENCH_HAS_GDCM)
  gdcm::ImageReader reader;
  reader.SetFileName(path);
  require(reader.Read(), "GDCM cannot read the file");
  const gdcm::Image& image = reader.GetImage();
  std::vector<char> samples(image.GetBufferLength());
  require(image.GetBuffer(samples.data()), "GDCM cannot decode the file");
#else
  throw std::runtime_error("built without GDCM");
#endif
}

void readHeaders(const char* folder) {
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    DcmFileFormat file;
    bench::check(file.loadFile(entry.path().c_str()));
  }
}

void writePhantom(const char* path, const std::string& syntax, int frames) {
  static const std::map<std::string, E_TransferSyntax> kSyntaxes = {
      {"native", EXS_LittleEndianExplicit},
      {"rle", EXS_RLELossless},
      {"jpeg_lossless", EXS_JPEGProcess14SV1},
      {"jpeg_ls", EXS_JPEGLSLossless}};
  bench::save(*bench::makeHead({512, 512, static_cast<std::size_t>(frames), false}), path,
              kSyntaxes.at(syntax));
}

void writeSeries(const char* folder, int count) {
  for (int i = 0; i < count; ++i) {
    const int number = i * 1237 % count + 1;  // out of order
    const auto file = bench::makeHead({16, 16, 1, false}, number);
    bench::save(*file, fs::path(folder) / (std::to_string(i) + ".dcm"), EXS_LittleEndianExplicit);
  }
}

int run(const std::vector<const char*>& arguments) {
  static const std::map<std::string, std::function<void(const char*)>> kReaders = {
      {"library", readByLibrary},
      {"dcmtk", readByDcmtk},
      {"dicomimage", readByDicomImage},
      {"gdcm", readByGdcm},
      {"headers", readHeaders}};
  const std::string work = arguments.size() >= 2 ? arguments[0] : "";
  if (work == "phantom" && arguments.size() == 4) {
    writePhantom(arguments[1], arguments[2], std::stoi(arguments[3]));
    return 0;
  }
  if (work == "series" && arguments.size() == 3) {
    writeSeries(arguments[1], std::stoi(arguments[2]));
    return 0;
  }
  const auto reader = kReaders.find(work);
  require(reader != kReaders.end(), "unknown work");
  const double before = cpuMilliseconds();
  reader->second(arguments[1]);
  std::printf("%.3f\n", cpuMilliseconds() - before);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run({argv + 1, argv + argc});
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
