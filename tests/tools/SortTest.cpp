// SPDX-License-Identifier: BSD-3-Clause
// zrdcm sort: the order of a series, what decides it, copies in that order.
#include "support/Compression.h"
#include "support/DatasetBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <numeric>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using nlohmann::json;
using support::DatasetBuilder;
using testing::ElementsAre;
using testing::HasSubstr;
using tools::Outcome;
using tools::runZrdcm;

std::vector<std::string> linesOf(const Outcome& outcome) {
  std::vector<std::string> lines;
  std::istringstream stream(outcome.output);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

const DcmTagKey kVendorIndex(0x2005, 0x1412);
const DcmTagKey kVendorSubIndex(0x2005, 0x1413);
const DcmTagKey kPctRpeakDelay(0x0045, 0x1033);
const DcmTagKey kCardiacPhase(0x7005, 0x1005);
const DcmTagKey kVolumeUID(0x7005, 0x1016);

DatasetBuilder image(int number) {
  return DatasetBuilder()
      .with(DCM_SOPClassUID, "1.2")
      .with(DCM_SOPInstanceUID, "1.2.3." + std::to_string(number))
      .with(DCM_SeriesInstanceUID, "1.2.3")
      .with(DCM_InstanceNumber, std::to_string(number));
}

class ZrdcmSort : public testing::Test {
protected:
  std::string write(const std::string& name, const DatasetBuilder& builder) const {
    const std::string path = folder_.file(name).string();
    const auto dataset = builder.build();
    DcmFileFormat format(dataset.get());
    EXPECT_TRUE(format.saveFile(OFFilename(path.c_str()), EXS_LittleEndianExplicit).good());
    return path;
  }

  static Outcome sort(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "sort");
    return runZrdcm(arguments);
  }

  std::string inFolder(const std::string& name) const { return folder_.file(name).string(); }

private:
  support::TempDir folder_;
};

std::string textOf(const std::string& path, const DcmTagKey& key) {
  DcmFileFormat file;
  EXPECT_TRUE(file.loadFile(OFFilename(path.c_str())).good()) << path;
  OFString text;
  (void)file.getDataset()->findAndGetOFString(key, text);  // empty when it is absent
  return text;
}

// ---- order ----

TEST_F(ZrdcmSort, OrdersByInstanceNumber) {
  const std::string ten = write("a", image(10));
  const std::string two = write("b", image(2));
  const std::string three = write("c", image(3));

  const Outcome run = sort({ten, two, three});

  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(linesOf(run), ElementsAre(two, three, ten));
}

TEST_F(ZrdcmSort, OrdersHundredsOfFiles) {
  std::vector<int> numbers(301);
  std::iota(numbers.begin(), numbers.end(), -100);
  std::vector<std::string> expected;
  for (const int number : numbers) {
    expected.push_back(write("n" + std::to_string(number), image(number)));
  }
  std::vector<std::string> given = expected;
  std::shuffle(given.begin(), given.end(), std::mt19937(1));

  EXPECT_EQ(linesOf(sort(given)), expected);
}

TEST_F(ZrdcmSort, TakesASingleFile) {
  const std::string one = write("a", image(1));

  EXPECT_THAT(linesOf(sort({one})), ElementsAre(one));
}

TEST_F(ZrdcmSort, KeepsTheGivenOrderOfEqualFiles) {
  const std::string a = write("a", image(5));
  const std::string b = write("b", image(5));
  const std::string c = write("c", image(5));

  EXPECT_THAT(linesOf(sort({b, c, a})), ElementsAre(b, c, a));
}

// Without (2005,1413) each file counts as coming after the other.
TEST_F(ZrdcmSort, KeepsTheGivenOrderWhereNothingIsDecided) {
  const std::string one = write("a", image(1));
  const std::string two = write("b", image(2));
  const std::string three = write("c", image(3));

  const Outcome run = sort({"--by", "vendor-indices", "--json", three, one, two});

  EXPECT_EQ(json::parse(run.output), (json{{{"file", three}, {"decidedBy", nullptr}},
                                           {{"file", one}, {"decidedBy", nullptr}},
                                           {{"file", two}, {"decidedBy", nullptr}}}));
}

struct CriterionRow {
  const char* name;
  const char* by;
  const char* decidedBy;
  DcmTagKey key;
  DcmEVR vr;
};

class ZrdcmSortCriterion : public ZrdcmSort, public testing::WithParamInterface<CriterionRow> {};

// The instance numbers say the opposite, so the criterion shows.
TEST_P(ZrdcmSortCriterion, DecidesWhenSwitchedOn) {
  const CriterionRow& row = GetParam();
  const auto build = [&row](int number, const char* value) {
    return image(number).with(kVendorSubIndex, EVR_IS, "1").with(row.key, row.vr, value);
  };
  const std::string first = write("first", build(2, "3"));
  const std::string second = write("second", build(1, "4"));

  const Outcome with = sort({"--by", row.by, "--json", second, first});

  EXPECT_EQ(json::parse(with.output), (json{{{"file", first}, {"decidedBy", nullptr}},
                                            {{"file", second}, {"decidedBy", row.decidedBy}}}));
}

INSTANTIATE_TEST_SUITE_P(
    Criteria, ZrdcmSortCriterion,
    testing::Values(
        CriterionRow{"ImageType", "", "image-type", DCM_ImageType, EVR_CS},
        CriterionRow{"EchoTime", "echo-time", "echo-time", DCM_EchoTime, EVR_DS},
        CriterionRow{"VendorIndex", "vendor-indices", "vendor-indices", kVendorIndex, EVR_IS},
        CriterionRow{"VendorSubIndex", "vendor-indices", "vendor-indices", kVendorSubIndex, EVR_IS},
        CriterionRow{"TemporalPosition", "temporal-position", "temporal-position",
                     DCM_TemporalPositionIdentifier, EVR_IS},
        CriterionRow{"RpeakDelay", "rpeak-delay", "rpeak-delay", kPctRpeakDelay, EVR_DS},
        CriterionRow{"SliceThickness", "", "slice-thickness", DCM_SliceThickness, EVR_DS},
        CriterionRow{"CardiacPhase", "cardiac-phase", "cardiac-phase", kCardiacPhase, EVR_SH},
        CriterionRow{"VolumeUID", "volume-uid", "volume-uid", kVolumeUID, EVR_UI},
        CriterionRow{"OneOfSeveral", "echo-time,volume-uid", "volume-uid", kVolumeUID, EVR_UI}),
    support::nameOf<CriterionRow>);

TEST_F(ZrdcmSort, NamesTheInstanceNumberWhenItDecides) {
  const std::string one = write("a", image(1));
  const std::string two = write("b", image(2));

  EXPECT_EQ(json::parse(sort({"--json", two, one}).output),
            (json{{{"file", one}, {"decidedBy", nullptr}},
                  {{"file", two}, {"decidedBy", "instance-number"}}}));
}

TEST_F(ZrdcmSort, IgnoresCriteriaThatAreOff) {
  const std::string late = write("late", image(1).with(DCM_EchoTime, "20"));
  const std::string early = write("early", image(2).with(DCM_EchoTime, "10"));

  EXPECT_THAT(linesOf(sort({early, late})), ElementsAre(late, early));
  EXPECT_THAT(linesOf(sort({"--by=echo-time", early, late})), ElementsAre(early, late));
}

// Their VR stands in the private dictionary alone; as unknown values they would all read alike.
TEST_F(ZrdcmSort, ReadsPrivateCriteriaOfImplicitFiles) {
  const auto writeImplicit = [this](const std::string& name, int number, const char* delay) {
    const std::string path = inFolder(name);
    const auto dataset = image(number)
                             .with(DcmTagKey(0x0045, 0x0010), EVR_LO, "GEMS_HELIOS_01")
                             .with(kPctRpeakDelay, EVR_DS, delay)
                             .build();
    DcmFileFormat format(dataset.get());
    EXPECT_TRUE(format.saveFile(OFFilename(path.c_str()), EXS_LittleEndianImplicit).good());
    return path;
  };
  const std::string early = writeImplicit("early", 2, "70");
  const std::string late = writeImplicit("late", 1, "75");

  EXPECT_THAT(linesOf(sort({"--by", "rpeak-delay", late, early})), ElementsAre(early, late));
}

// ---- trouble ----

TEST_F(ZrdcmSort, LeavesOutWhatItCannotRead) {
  const std::string two = write("b", image(2));
  const std::string one = write("a", image(1));
  std::ofstream(inFolder("text")) << "this is no DICOM file, however long it goes on about that";

  const Outcome run = sort({two, inFolder("text"), inFolder("nowhere"), one});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(linesOf(run), ElementsAre(one, two));
  EXPECT_THAT(run.errors, HasSubstr("zrdcm: " + inFolder("text") + ": is not a DICOM file\n"));
  EXPECT_THAT(run.errors, HasSubstr("zrdcm: " + inFolder("nowhere") + ": does not exist\n"));
}

TEST_F(ZrdcmSort, RefusesUnknownCriteria) {
  const std::string one = write("a", image(1));

  const Outcome run = sort({"--by", "echo-time,size", one});

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.errors, HasSubstr("'size' is no criterion that --by can switch on"));
  EXPECT_EQ(sort({}).status, 2);
}

// ---- copies ----

TEST_F(ZrdcmSort, CopiesFilesNumberedByPosition) {
  const std::string ten = write("a", image(10));
  const std::string two = write("b", image(2));
  const std::string target = inFolder("new/copies");

  const Outcome run = sort({"--copy", target, "--json", ten, two});

  ASSERT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(json::parse(run.output)[0]["copy"], target + "/0001.dcm");
  EXPECT_EQ(textOf(target + "/0001.dcm", DCM_SOPInstanceUID), "1.2.3.2");
  EXPECT_EQ(textOf(target + "/0001.dcm", DCM_InstanceNumber), "1");
  EXPECT_EQ(textOf(target + "/0001.dcm", DcmTagKey(0x0071, 0x0010)), "Zorlan");
  EXPECT_EQ(textOf(target + "/0001.dcm", DcmTagKey(0x0071, 0x1032)), "2");
  EXPECT_EQ(textOf(target + "/0002.dcm", DCM_SOPInstanceUID), "1.2.3.10");
  EXPECT_EQ(textOf(target + "/0002.dcm", DCM_InstanceNumber), "2");
  EXPECT_EQ(textOf(two, DCM_InstanceNumber), "2");  // the originals stay as they were
  EXPECT_FALSE(std::filesystem::exists(target + "/0003.dcm"));
}

TEST_F(ZrdcmSort, CopiesThatAreSortedAgainStayAsTheyAre) {
  const std::string file = write("a", image(10));
  ASSERT_EQ(sort({"--copy", inFolder("once"), file}).status, 0);

  ASSERT_EQ(sort({"--copy", inFolder("twice"), inFolder("once/0001.dcm")}).status, 0);

  EXPECT_EQ(textOf(inFolder("twice/0001.dcm"), DCM_InstanceNumber), "1");
  EXPECT_EQ(textOf(inFolder("twice/0001.dcm"), DcmTagKey(0x0071, 0x1032)), "10");
}

TEST_F(ZrdcmSort, LeavesThePrivateBlockOfAnotherVendorAlone) {
  const std::string file = write("a", image(10)
                                          .with(DcmTagKey(0x0071, 0x0010), EVR_LO, "GEIIS_RA1000")
                                          .with(DcmTagKey(0x0071, 0x1001), EVR_CS, "MODEL"));

  ASSERT_EQ(sort({"--copy", inFolder("copies"), file}).status, 0);

  const std::string copy = inFolder("copies/0001.dcm");
  EXPECT_EQ(textOf(copy, DCM_InstanceNumber), "1");
  EXPECT_EQ(textOf(copy, DcmTagKey(0x0071, 0x0010)), "GEIIS_RA1000");
  EXPECT_EQ(textOf(copy, DcmTagKey(0x0071, 0x1001)), "MODEL");
  EXPECT_EQ(textOf(copy, DcmTagKey(0x0071, 0x1032)), "");
}

TEST_F(ZrdcmSort, CopiesPixelDataAsItIs) {
  std::vector<Uint16> pixels(64U * 64U);
  std::iota(pixels.begin(), pixels.end(), static_cast<Uint16>(0));
  const std::string file = write("a", image(10)
                                          .withUint16(DCM_Rows, 64)
                                          .withUint16(DCM_Columns, 64)
                                          .withUint16(DCM_BitsAllocated, 16)
                                          .withPixels16(pixels));

  ASSERT_EQ(sort({"--copy", inFolder("copies"), file}).status, 0);

  DcmFileFormat copy;
  ASSERT_TRUE(copy.loadFile(OFFilename(inFolder("copies/0001.dcm").c_str())).good());
  const Uint16* words = nullptr;
  unsigned long count = 0;
  ASSERT_TRUE(copy.getDataset()->findAndGetUint16Array(DCM_PixelData, words, &count).good());
  EXPECT_EQ(std::vector<Uint16>(words, words + count), pixels);
}

TEST_F(ZrdcmSort, CopiesDeflatedFilesToTheirEnd) {
  std::vector<Uint16> pixels(64U * 64U);
  std::iota(pixels.begin(), pixels.end(), static_cast<Uint16>(0));
  const std::string file = inFolder("deflated");
  support::saveFile(*image(10)
                         .withUint16(DCM_Rows, 64)
                         .withUint16(DCM_Columns, 64)
                         .withUint16(DCM_BitsAllocated, 16)
                         .withPixels16(pixels)
                         .build(),
                    file, EXS_DeflatedLittleEndianExplicit);

  ASSERT_EQ(sort({"--copy", inFolder("copies"), file}).status, 0);

  DcmFileFormat copy;
  ASSERT_TRUE(copy.loadFile(OFFilename(inFolder("copies/0001.dcm").c_str())).good());
  const Uint16* words = nullptr;
  unsigned long count = 0;
  ASSERT_TRUE(copy.getDataset()->findAndGetUint16Array(DCM_PixelData, words, &count).good());
  EXPECT_EQ(std::vector<Uint16>(words, words + count), pixels);
}

TEST_F(ZrdcmSort, RefusesToReplaceWhatItCopies) {
  const std::string two = write("0001.dcm", image(2));
  const std::string one = write("0002.dcm", image(1));

  const Outcome run = sort({"--copy", inFolder("."), two, one});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, HasSubstr("0001.dcm: that would replace the input "));
  EXPECT_EQ(textOf(two, DCM_InstanceNumber), "2");
  EXPECT_EQ(textOf(one, DCM_InstanceNumber), "1");
}

TEST_F(ZrdcmSort, LeavesNoCopyWhereThereIsNoRoom) {
  const std::string file = write("a", image(1));
  const std::string copies = inFolder("copies");

  // A limit of 0 blocks: the first byte is too much. It does not hold for the pipe.
  const Outcome run = tools::runProgram(
      {"sh", "-c", "(ulimit -f 0; \"$0\" sort --copy \"$1\" \"$2\" 2>&1; echo \"status $?\") | cat",
       ZRDCM_PROGRAM, copies, file});

  EXPECT_THAT(run.output,
              HasSubstr("zrdcm: cannot write " + copies + "/0001.dcm: File too large\n"));
  EXPECT_THAT(run.output, HasSubstr("status 1\n"));
  EXPECT_THAT(tools::namesIn(copies), testing::IsEmpty());
}

TEST_F(ZrdcmSort, SaysThatTheDiskIsFull) {
  const std::string file = write("a", image(1));
  std::filesystem::create_directory(inFolder("copies"));
  std::filesystem::create_symlink("/dev/full", inFolder("copies/0001.dcm"));

  const Outcome run = sort({"--copy", inFolder("copies"), file});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors,
            "zrdcm: cannot write " + inFolder("copies/0001.dcm") + ": No space left on device\n");
}

TEST_F(ZrdcmSort, SaysWhereItCannotCopy) {
  const std::string file = write("a", image(1));

  const Outcome run = sort({"--copy", file, file});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, HasSubstr(file));
}

TEST_F(ZrdcmSort, TakesAFolderAndPassesOverWhatIsNoDicom) {
  std::filesystem::create_directories(inFolder("in"));
  const std::string second = write("in/a.dcm", image(2));
  const std::string first = write("in/b.dcm", image(1));
  tools::writeFile(inFolder("in/notes.txt"), "no image");

  const Outcome outcome = sort({inFolder("in")});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(linesOf(outcome), ElementsAre(first, second));
  EXPECT_EQ(outcome.errors, "zrdcm: passed over 1 file that is no DICOM file\n");
}

TEST_F(ZrdcmSort, ProtectsTheFilesThatItFindsInAFolder) {
  std::filesystem::create_directories(inFolder("in"));
  write("in/0001.dcm", image(2));

  const Outcome outcome = sort({inFolder("in"), "--copy", inFolder("in")});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.errors, HasSubstr("that would replace the input"));
}

}  // namespace
