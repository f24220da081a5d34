// SPDX-License-Identifier: BSD-3-Clause
#include "PhantomFile.h"

#include "phantoms/Coding.h"

#include <stdexcept>
#include <string>
#include <system_error>
#include <unistd.h>

namespace bench {

void check(const OFCondition& condition) {
  if (condition.bad()) {
    throw std::runtime_error(condition.text());
  }
}

std::unique_ptr<DcmFileFormat> makeHead(const phantoms::HeadForm& form, int number) {
  const bool copied = false;  // the file owns the dataset
  return std::make_unique<DcmFileFormat>(phantoms::noisyHead(form, number).release(), copied);
}

void save(DcmFileFormat& file, const std::filesystem::path& path, E_TransferSyntax syntax) {
  static const phantoms::Encoders encoders;
  phantoms::encode(*file.getDataset(), syntax);
  check(file.saveFile(path.c_str(), syntax));
}

PhantomFile::PhantomFile(const phantoms::HeadForm& form, E_TransferSyntax syntax) {
  static int count = 0;
  path_ =
      std::filesystem::temp_directory_path() /
      ("zrdcmexport_bench_" + std::to_string(getpid()) + "_" + std::to_string(++count) + ".dcm");
  save(*makeHead(form), path_, syntax);
}

PhantomFile::~PhantomFile() {
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
}

}  // namespace bench
