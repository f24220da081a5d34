// SPDX-License-Identifier: BSD-3-Clause
// Copies of the files of a series, numbered by their position in it.
#include "SeriesCopy.h"

#include "DicomFile.h"
#include "Failure.h"
#include "OutputFile.h"

#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcostrmf.h"
#include "dcmtk/dcmdata/dctk.h"
#include "dcmtk/dcmdata/dcwcache.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <set>
#include <string>

namespace zrdcm {

namespace {

namespace fs = std::filesystem;

void require(const OFCondition& condition, const char* what) {
  if (condition.bad()) {
    throw Failure(std::string("cannot set ") + what + ": " + condition.text());
  }
}

void keepOriginalNumber(DcmDataset& dataset) {
  const std::string number = textOf(dataset, DCM_InstanceNumber);
  const DcmTag creator(ExDCM::PrivateTag::CreatorGroupZorlan, 0x0010, DcmVR(EVR_LO));
  const std::string owner = textOf(dataset, creator);
  const bool ours = owner == ExDCM::PrivateTag::CreatorZorlan;
  const bool free = !dataset.tagExists(creator);
  if (number.empty() || !(ours || free) ||
      dataset.tagExists(ExDCM::PrivateTag::OriginalInstanceNumber)) {
    return;
  }
  ExDCM::registerPrivateDicomTags();  // gives the element its VR
  require(dataset.putAndInsertString(creator, ExDCM::PrivateTag::CreatorZorlan),
          "the private creator");
  require(dataset.putAndInsertString(ExDCM::zorlanTag(ExDCM::PrivateTag::OriginalInstanceNumber),
                                     number.c_str()),
          "OriginalInstanceNumber");
}

// Flushes its own stream, because a small file on a full disk counts as written otherwise.
void save(DcmFileFormat& file, E_TransferSyntax syntax, const fs::path& path) {
  std::FILE* const handle = std::fopen(path.c_str(), "wb");
  if (handle == nullptr) {
    throw Failure(std::string("cannot be opened: ") + std::strerror(errno));
  }
  DcmOutputFileStream stream(handle);  // closes the handle
  DcmWriteCache cache;
  file.transferInit();
  const OFCondition written =
      file.write(stream, syntax, EET_ExplicitLength, &cache, EGL_recalcGL, EPD_noChange);
  file.transferEnd();
  if (written.bad()) {
    throw Failure(written.text());
  }
  if (std::fflush(handle) != 0) {
    throw Failure(std::strerror(errno));
  }
}

}  // namespace

fs::path copyPath(const fs::path& folder, std::size_t position, std::size_t count) {
  constexpr std::size_t kFewestDigits = 4;
  const std::size_t width = std::max(kFewestDigits, std::to_string(count).size());
  const std::string number = std::to_string(position);
  return folder / (std::string(width - number.size(), '0') + number + ".dcm");
}

void refuseToReplace(const std::vector<fs::path>& files, const fs::path& folder) {
  std::set<fs::path> sources;
  for (const fs::path& file : files) {
    sources.insert(fs::weakly_canonical(file));
  }
  for (std::size_t position = 1; position <= files.size(); ++position) {
    const fs::path copy = copyPath(folder, position, files.size());
    if (sources.contains(fs::weakly_canonical(copy))) {
      throw Failure(copy.string() + ": would replace a file that is to be copied");
    }
  }
}

void copyRenumbered(const fs::path& file, std::size_t position, const fs::path& target) {
  const DicomFile source(file);
  DcmFileFormat copy(&source.dataset());
  DcmDataset& dataset = *copy.getDataset();
  keepOriginalNumber(dataset);
  require(dataset.putAndInsertString(DCM_InstanceNumber, std::to_string(position).c_str()),
          "InstanceNumber");
  OutputFile output(target);
  try {
    save(copy, source.transferSyntax(), output.temporaryPath());
  } catch (const Failure& failure) {
    throw Failure("cannot write " + target.string() + ": " + failure.what());
  }
  output.commit();
}

}  // namespace zrdcm
