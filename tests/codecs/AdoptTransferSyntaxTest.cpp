// SPDX-License-Identifier: BSD-3-Clause
// Files of HTJ2K as DCMTK loads them. The stream inside is one of JPEG 2000, which OpenJPEG reads
// as well: what is tested here is the transfer syntax.
#include "codecs/CodecsFixture.h"
#include "codecs/Jpeg2000Encoding.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>

namespace {

/// Rewrites the transfer syntax in the meta information of a file. The new one may be longer by a
/// character.
void relabel(const std::filesystem::path& path, const std::string& uid) {
  DcmFileFormat file;
  ASSERT_TRUE(file.loadFile(path.c_str()).good());
  std::ifstream in(path, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const std::string old = "1.2.840.10008.1.2.4.90";
  const std::size_t at = bytes.find(old);
  ASSERT_NE(at, std::string::npos);
  const std::string padded = uid.size() % 2 == 0 ? uid : uid + '\0';
  bytes.replace(at, old.size(), padded);
  bytes[at - 2] = static_cast<char>(padded.size());
  // The group length stands behind the preamble, "DICM" and its own header.
  bytes[140] = static_cast<char>(bytes[140] + static_cast<char>(padded.size() - old.size()));
  std::ofstream(path, std::ios::binary) << bytes;
}

struct Syntax {
  const char* name;
  const char* uid;
  E_TransferSyntax stand;
};

class AdoptedSyntax : public WithCodecs, public testing::WithParamInterface<Syntax> {
protected:
  support::TempDir folder_;
};

TEST_P(AdoptedSyntax, Decodes) {
  const auto native = support::monochromeImage(20, 10).bitsStored(12).frames(2).build();
  const auto compressed = jpeg2000::twinOf(*native, {.bits = 12});
  const auto path = folder_.path() / "image.dcm";
  DcmFileFormat written(compressed.get());
  ASSERT_TRUE(written.saveFile(path.c_str(), EXS_JPEG2000LosslessOnly).good());
  relabel(path, GetParam().uid);
  DcmFileFormat file;
  ASSERT_TRUE(file.loadFile(path.c_str()).good());

  ASSERT_TRUE(zrcodecs::adoptTransferSyntax(file));

  EXPECT_EQ(file.getDataset()->getOriginalXfer(), GetParam().stand);
  ASSERT_TRUE(file.getDataset()->chooseRepresentation(EXS_LittleEndianExplicit, nullptr).good());
  EXPECT_EQ(jpeg2000::framesOf(*file.getDataset()), jpeg2000::framesOf(*native));
}

INSTANTIATE_TEST_SUITE_P(
    Htj2k, AdoptedSyntax,
    testing::Values(Syntax{"Lossless", "1.2.840.10008.1.2.4.201", EXS_JPEG2000LosslessOnly},
                    Syntax{"LosslessRpcl", "1.2.840.10008.1.2.4.202", EXS_JPEG2000LosslessOnly},
                    Syntax{"Lossy", "1.2.840.10008.1.2.4.203", EXS_JPEG2000}),
    support::nameOf<Syntax>);

class AdoptTransferSyntax : public WithCodecs {};

TEST_F(AdoptTransferSyntax, LeavesSyntaxesAloneThatDcmtkKnows) {
  const support::TempDir folder;
  const auto path = folder.path() / "image.dcm";
  support::saveFile(*support::monochromeImage(20, 10).build(), path);
  DcmFileFormat file;
  ASSERT_TRUE(file.loadFile(path.c_str()).good());

  EXPECT_FALSE(zrcodecs::adoptTransferSyntax(file));
  EXPECT_EQ(file.getDataset()->getOriginalXfer(), EXS_LittleEndianExplicit);
}

TEST_F(AdoptTransferSyntax, LeavesNativeSamplesAloneThatAreLabelledSo) {
  DcmFileFormat file;
  ASSERT_TRUE(file.getMetaInfo()
                  ->putAndInsertString(DCM_TransferSyntaxUID, "1.2.840.10008.1.2.4.201")
                  .good());
  ASSERT_TRUE(file.getDataset()
                  ->putAndInsertUint16Array(DCM_PixelData, std::vector<Uint16>(4).data(), 4)
                  .good());

  EXPECT_FALSE(zrcodecs::adoptTransferSyntax(file));
}

TEST_F(AdoptTransferSyntax, LeavesAnEmptyFileAlone) {
  DcmFileFormat file;

  EXPECT_FALSE(zrcodecs::adoptTransferSyntax(file));
}

}  // namespace
