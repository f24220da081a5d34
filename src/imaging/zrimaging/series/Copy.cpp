// SPDX-License-Identifier: BSD-3-Clause
// Copies of the files of a series, numbered by their position in it.
#include "zrimaging/Boundary.h"
#include "zrimaging/DicomWriter.h"
#include "zrimaging/File.h"
#include "zrimaging/Series.h"
#include "zrimaging/files/CodecRegistration.h"
#include "zrimaging/files/Condition.h"

#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <string>

namespace zr {

namespace {

namespace fs = std::filesystem;

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
          "set the private creator");
  require(dataset.putAndInsertString(ExDCM::zorlanTag(ExDCM::PrivateTag::OriginalInstanceNumber),
                                     number.c_str()),
          "set OriginalInstanceNumber");
}

void writeRenumbered(const fs::path& file, std::size_t position, const fs::path& target,
                     const ProtectedInputs& inputs) {
  const File source(file);
  if (isAdopted(source)) {
    throw Error(Reason::Unsupported,
                "cannot copy " + file.string() + ": it is in transfer syntax " +
                    source.statedTransferSyntax() + ", which DCMTK does not write");
  }
  DcmFileFormat copy(&source.dataset());
  DcmDataset& dataset = *copy.getDataset();
  keepOriginalNumber(dataset);
  require(dataset.putAndInsertString(DCM_InstanceNumber, std::to_string(position).c_str()),
          "set InstanceNumber");
  writeDicomFile(copy, source.dataset().getOriginalXfer(), target, inputs);
}

}  // namespace

fs::path copyPath(const fs::path& folder, std::size_t position, std::size_t count) {
  constexpr std::size_t kFewestDigits = 4;
  const std::size_t width = std::max(kFewestDigits, std::to_string(count).size());
  const std::string number = std::to_string(position);
  return folder / (std::string(width - number.size(), '0') + number + ".dcm");
}

void copyRenumbered(const fs::path& file, std::size_t position, const fs::path& target,
                    const ProtectedInputs& inputs) {
  atBoundary([&] { writeRenumbered(file, position, target, inputs); });
}

}  // namespace zr
