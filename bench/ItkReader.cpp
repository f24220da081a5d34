// SPDX-License-Identifier: BSD-3-Clause
// Reads all frames of a file through ITK, as a volume of signed 16 bits, and prints the CPU time in
// milliseconds. A program of its own: ITK's libraries would weigh on the memory of the other
// readers.
#include <cstdio>
#include <ctime>
#include <exception>
#include <itkGDCMImageIO.h>
#include <itkImage.h>
#include <itkImageFileReader.h>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: zrdcmexport_bench_itk_reader FILE\n", stderr);
    return 2;
  }
  const std::clock_t before = std::clock();
  try {
    const auto reader = itk::ImageFileReader<itk::Image<short, 3>>::New();
    reader->SetImageIO(itk::GDCMImageIO::New());
    reader->SetFileName(argv[1]);
    reader->Update();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  std::printf("%.3f\n", static_cast<double>(std::clock() - before) * 1e3 / CLOCKS_PER_SEC);
  return 0;
}
