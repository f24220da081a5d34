// SPDX-License-Identifier: BSD-3-Clause
// One run of zrdcm export: 2 x 2 samples in, a file out.
#pragma once

#include "support/DatasetBuilder.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace tools {

class ZrdcmExport : public testing::Test {
protected:
  ZrdcmExport() {
    tools::writeFile(folder_.file("image.raw"), std::string("\x00\x00\x01\x02\xff\xff\x34\x12", 8));
  }

  /// Writes 2 x 2 samples with these attributes.
  Outcome exportTags(const std::string& tags, const std::vector<std::string>& further = {}) {
    tools::writeFile(folder_.file("tags.json"), tags);
    std::vector<std::string> all = {"--tags", path("tags.json")};
    all.insert(all.end(), further.begin(), further.end());
    return exportWith(all);
  }

  Outcome exportWith(const std::vector<std::string>& further) {
    std::vector<std::string> all = {"export",    "--pixels", path("image.raw"),
                                    "--columns", "2",        "--rows",
                                    "2",         "-o",       path("out.dcm")};
    all.insert(all.end(), further.begin(), further.end());
    return runZrdcm(all);
  }

  std::string path(const std::string& name) const { return folder_.file(name).string(); }

  std::unique_ptr<DcmFileFormat> written() const {
    auto file = std::make_unique<DcmFileFormat>();
    if (file->loadFile(path("out.dcm").c_str()).bad() || file->loadAllDataIntoMemory().bad()) {
      throw std::runtime_error("out.dcm cannot be read");
    }
    return file;
  }

  std::string text(const DcmTagKey& key) const {
    OFString value;
    return written()->getDataset()->findAndGetOFStringArray(key, value).good() ? value
                                                                               : "(missing)";
  }

  support::TempDir folder_;
};

/// The same with the attributes of another file.
class ZrdcmExportFrom : public ZrdcmExport {
protected:
  void save(support::DatasetBuilder builder) {
    const auto dataset = builder.build();
    DcmFileFormat format(dataset.get());
    ASSERT_TRUE(format.saveFile(path("from.dcm").c_str(), EXS_LittleEndianExplicit).good());
  }

  static support::DatasetBuilder source() {
    return support::DatasetBuilder()
        .with(DCM_SOPClassUID, "1.2.840.10008.5.1.4.1.1.2")
        .with(DCM_SOPInstanceUID, "1.2.3")
        .with(DCM_StudyInstanceUID, "1.2.4")
        .with(DCM_SeriesInstanceUID, "1.2.5")
        .with(DCM_ImageType, "ORIGINAL\\PRIMARY\\AXIAL")
        .with(DCM_PatientID, "P1")
        .withUint16(DCM_Rows, 512)
        .withUint16(DCM_BitsStored, 12)
        .with(DCM_SmallestImagePixelValue, EVR_US, "7")
        .with(DCM_PixelPaddingValue, EVR_US, "5")
        .with(DcmTagKey(0x0009, 0x0010), EVR_LO, "MAKER")
        .withBytes(DCM_ICCProfile, {1, 2})
        .withItem(DCM_ModalityLUTSequence,
                  support::DatasetBuilder().with(DCM_ModalityLUTType, "HU"))
        .withItem(DCM_SourceImageSequence,
                  support::DatasetBuilder().with(DCM_ReferencedSOPInstanceUID, "1.9"))
        .withPixels16({1, 2, 3, 4});
  }
};

}  // namespace tools
