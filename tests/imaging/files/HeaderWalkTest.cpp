// SPDX-License-Identifier: BSD-3-Clause
// The walk over headers beside what DCMTK makes of the same bytes, and what it tells.
#include "support/CorpusFixture.h"
#include "support/Files.h"
#include "support/HeaderWriter.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "zrimaging/File.h"
#include "zrimaging/files/NestingGuard.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcistrmb.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <ostream>
#include <span>
#include <string>

namespace {

using support::characterSet;
using support::kExplicit;
using support::kImplicit;
using support::kUndefined;
using support::metaInformation;

std::size_t depthOf(DcmItem& item) {
  std::size_t deepest = 0;
  for (DcmObject* element = nullptr; (element = item.nextInContainer(element)) != nullptr;) {
    auto* const sequence = dynamic_cast<DcmSequenceOfItems*>(element);
    if (sequence == nullptr) {
      continue;
    }
    deepest = std::max(deepest, std::size_t{1});
    for (DcmObject* inner = nullptr; (inner = sequence->nextInContainer(inner)) != nullptr;) {
      deepest = std::max(deepest, 1 + depthOf(dynamic_cast<DcmItem&>(*inner)));
    }
  }
  return deepest;
}

/// The same bytes, read with less care, would nest.
TEST(HeaderScan, SkipsPrivateValuesThatLookLikeSequences) {
  std::string bytes;
  for (int level = 0; level < 100; ++level) {
    bytes = kImplicit.longHeader(kImplicit.tag(0x0009, 0x1040), "", bytes.size() + 8) +
            kImplicit.item(bytes.size()) + bytes;
  }
  const std::string file = metaInformation(UID_LittleEndianImplicitTransferSyntax) + bytes;

  const zr::HeaderScan scan =
      zr::scanHeaders(std::span(reinterpret_cast<const unsigned char*>(file.data()), file.size()));

  EXPECT_EQ(scan.deepest, 0U);
  EXPECT_FALSE(scan.tooDeep);
}

std::string creator(const char* name) {
  return kImplicit.text(kImplicit.tag(0x0009, 0x0010), "", name);
}

/// A sequence in a sequence of the creator's, if it is known as one.
std::string ofCreator() {
  const std::string inner = kImplicit.sequence(0);
  return kImplicit.longHeader(kImplicit.tag(0x0009, 0x1040), "", 8 + inner.size()) +
         kImplicit.item(inner.size()) + inner;
}

struct Walk {
  const char* name;
  E_TransferSyntax syntax;
  std::string dataset;
  std::size_t deepest;
};

void PrintTo(const Walk& walk, std::ostream* stream) {
  *stream << walk.name;
}

class HeaderWalk : public testing::TestWithParam<Walk> {};

TEST_P(HeaderWalk, GoesAsDeepAsDcmtk) {
  const Walk& walk = GetParam();
  const std::string file = metaInformation(DcmXfer(walk.syntax).getXferID()) + walk.dataset;

  const zr::HeaderScan scan =
      zr::scanHeaders(std::span(reinterpret_cast<const unsigned char*>(file.data()), file.size()));

  EXPECT_EQ(scan.deepest, walk.deepest);
  DcmInputBufferStream stream;
  stream.setBuffer(walk.dataset.data(), static_cast<offile_off_t>(walk.dataset.size()));
  stream.setEos();
  DcmDataset dataset;
  dataset.transferInit();
  (void)dataset.read(stream, walk.syntax);  // some of these end early
  dataset.transferEnd();
  EXPECT_EQ(depthOf(dataset), walk.deepest);
}

INSTANTIATE_TEST_SUITE_P(
    Datasets, HeaderWalk,
    testing::Values(
        Walk{"EndsAtAnElementLongerThanItsItem", EXS_LittleEndianExplicit,
             kExplicit.sequence() + kExplicit.item(40) + kExplicit.sequence(100) +
                 kExplicit.item() + kExplicit.nested(3),
             1},
        Walk{"EndsAtALookUpTableThatIsASequenceByName", EXS_LittleEndianExplicit,
             kExplicit.longHeader(kExplicit.tag(0x0028, 0x3010), "OW", 2) + "ab" +
                 kExplicit.nested(3),
             0},
        Walk{"KnowsPixelDataOfTheVrOX", EXS_LittleEndianExplicit,
             kExplicit.longHeader(kExplicit.tag(0x7FE0, 0x0010), "OX", kUndefined) +
                 kExplicit.item(4) + "abcd" + kExplicit.sequenceEnd() + kExplicit.nested(2),
             2},
        Walk{"KnowsACreator", EXS_LittleEndianImplicit, creator("CARDIO-D.R. 1.0") + ofCreator(),
             2},
        Walk{"KnowsNoOtherCreator", EXS_LittleEndianImplicit, creator("NOBODY") + ofCreator(), 0},
        Walk{"MissesACreatorOutOfOrder", EXS_LittleEndianImplicit,
             characterSet(kImplicit) + kImplicit.text(kImplicit.tag(0x0010, 0x0020), "", "P1") +
                 creator("CARDIO-D.R. 1.0") + ofCreator(),
             0},
        Walk{"MissesACreatorBehindOneOfALaterBlock", EXS_LittleEndianImplicit,
             kImplicit.text(kImplicit.tag(0x0009, 0x0011), "", "NOBODY") +
                 creator("CARDIO-D.R. 1.0") + ofCreator(),
             0},
        Walk{"TakesACreatorOutOfOrderThatComesTwice", EXS_LittleEndianImplicit,
             kImplicit.text(kImplicit.tag(0x0010, 0x0020), "", "P1") + creator("CARDIO-D.R. 1.0") +
                 creator("NOBODY") + ofCreator(),
             2}),
    support::nameOf<Walk>);

TEST(HeaderScan, TellsWhatIsTooDeepWhere) {
  const std::string file = metaInformation(UID_LittleEndianExplicitTransferSyntax) +
                           characterSet(kExplicit) + kExplicit.nested(3);

  const zr::HeaderScan scan = zr::scanHeaders(
      std::span(reinterpret_cast<const unsigned char*>(file.data()), file.size()), {2});

  ASSERT_TRUE(scan.tooDeep);
  EXPECT_EQ(scan.tooDeep->tag, DcmTagKey(0x0040, 0xA730));
  EXPECT_EQ(scan.tooDeep->level, 3U);
  EXPECT_EQ(scan.tooDeep->position, 18U + 2 * (12 + 8) + 12);
}

TEST(HeaderScan, RefusesMetaInformationThatBeginsWithDamage) {
  const support::TempDir folder;
  const std::string file = folder.file("in.dcm").string();
  support::writeFile(file, std::string(128, '\0') + "DICM" +
                               kExplicit.longHeader(kExplicit.tag(2, 1), "SQ", kUndefined) +
                               kExplicit.nested(2));

  try {
    const zr::File read(file);
    FAIL() << "read";
  } catch (const zr::Error& error) {
    EXPECT_EQ(error.reason(), zr::Reason::Damaged);
    EXPECT_STREQ(error.what(), "is damaged: its meta information cannot be read");
  }
}

TEST(HeaderScan, OfAFileThatCannotBeOpenedIsEmpty) {
  EXPECT_EQ(zr::scanHeaders(std::filesystem::path("/nowhere/at/all")).headers, 0U);
}

using RealFiles = support::CorpusFixture;

TEST_F(RealFiles, NestAsDeepAsDcmtkReadsThem) {
  std::size_t files = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(corpus() / "files")) {
    if (!entry.is_regular_file()) {
      continue;
    }
    const zr::HeaderScan scan = zr::scanHeaders(entry.path());

    EXPECT_FALSE(scan.tooDeep) << entry.path();
    EXPECT_FALSE(scan.isDamagedMeta) << entry.path();
    DcmFileFormat file;
    if (file.loadFile(OFFilename(entry.path().c_str())).good()) {
      ++files;
      EXPECT_EQ(scan.overlong, "") << entry.path();
      EXPECT_EQ(scan.deepest, depthOf(*file.getDataset())) << entry.path();
    }
  }
  EXPECT_GT(files, 100U);
}

}  // namespace
