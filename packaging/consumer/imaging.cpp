// SPDX-License-Identifier: BSD-3-Clause
// Uses the imaging library as a program outside the project does, without a header of DCMTK: writes
// a new image, reads it from memory and catches an error with its reason.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <zrimaging/Export.h>
#include <zrimaging/File.h>

int main() {
  const std::filesystem::path path = "imaging-consumer.dcm";
  const unsigned char samples[] = {1, 2, 3, 4};
  zr::NewImage image(2, 2, zr::ExportType::kU8);
  image.addTags(R"({"PatientName": "Consumer"})");
  image.complete();
  image.write(path, samples, sizeof samples, zr::ProtectedInputs());

  std::ifstream stream(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  const zr::File file = zr::File::fromBytes(bytes.data(), bytes.size());
  const std::string name = file.text(zr::AttributePath::parse("PatientName")).text;
  std::filesystem::remove(path);
  try {
    (void)zr::File(path);
  } catch (const zr::Error& error) {
    std::printf("%s: %s\n", zr::nameOf(error.reason()), error.what());
    const bool told = name == "Consumer" && error.reason() == zr::Reason::NotDicom;
    return told ? EXIT_SUCCESS : EXIT_FAILURE;
  }
  return EXIT_FAILURE;
}
