// SPDX-License-Identifier: BSD-3-Clause
// Real files in JPEG 2000 and HTJ2K against what independent decoders say of them (`expected.tsv`
// of the corpus).
#include "codecs/CodecsFixture.h"
#include "support/CorpusFixture.h"
#include "support/Md5.h"

#include "dcmtk/dcmdata/dctk.h"

#include <iostream>
#include <set>
#include <string>

namespace {

// A corpus that shrinks must not go unnoticed.
constexpr int kLeastFiles = 10;

class CorpusJpeg2000 : public support::CorpusFixture {
protected:
  CorpusJpeg2000() {
    support::silenceDcmtk();
    EXPECT_TRUE(zrcodecs::registerCodecs());
  }
  ~CorpusJpeg2000() override { zrcodecs::deregisterCodecs(); }

  /// MD5 of all samples, or why there are none.
  std::string md5Of(const std::string& name, std::size_t bytes) const {
    DcmFileFormat file;
    if (file.loadFile((corpus() / "files" / name).c_str()).bad()) {
      return "cannot be read";
    }
    (void)zrcodecs::adoptTransferSyntax(file);
    DcmDataset& dataset = *file.getDataset();
    const OFCondition status = dataset.chooseRepresentation(EXS_LittleEndianExplicit, nullptr);
    DcmElement* element = nullptr;
    if (status.bad() || dataset.findAndGetElement(DCM_PixelData, element).bad()) {
      return status.text();
    }
    Uint16* words = nullptr;
    Uint8* samples = nullptr;
    if (element->getUint16Array(words).bad() && element->getUint8Array(samples).bad()) {
      return "no samples";
    }
    if (element->getLength() < bytes) {
      return "too few samples";
    }
    return support::md5Hex(words != nullptr ? static_cast<const void*>(words) : samples, bytes);
  }
};

TEST_F(CorpusJpeg2000, HasTheSamplesThatOtherDecodersFind) {
  const support::TsvTable expected(corpus() / "expected.tsv");
  // One bit a sample, which native pixel data packs eight to a byte: not decoded.
  const std::set<std::string> refused = {"seg__liver_j2k.dcm"};
  int files = 0;
  for (const auto& row : expected.rows()) {
    const bool isOurs = row["kind"] == "j2k" || row["kind"] == "htj2k";
    if (!isOurs || row["status"] != "ok" || refused.count(row["file"]) != 0) {
      continue;
    }
    EXPECT_EQ(md5Of(row["file"], std::stoul(row["nbytes"])), row["md5"]) << row["file"];
    ++files;
  }
  std::cout << files << " files\n";
  EXPECT_GE(files, kLeastFiles);
}

TEST_F(CorpusJpeg2000, IsRefusedWhereItIsPackedEightSamplesToAByte) {
  EXPECT_EQ(md5Of("seg__liver_j2k.dcm", 1), "Pixel representation cannot be changed");
}

}  // namespace
