// SPDX-License-Identifier: BSD-3-Clause
// Files must be read by others as they are read by DCMTK: pydicom, GDCM, and the checkers of DCMTK
// and dicom3tools.
#include "core/writing/ExportFixture.h"
#include "support/LogCapture.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "writing/ZrDcmExportPrivate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

using exporting::isInstalled;
using exporting::run;
using testing::HasSubstr;
using testing::Not;

struct Kind {
  const char* name;
  ZrDcmExportPrivate (*writer)(const std::filesystem::path&);
};

class FileOf : public testing::TestWithParam<Kind> {
protected:
  void SetUp() override {
    ZrDcmExportPrivate writer = GetParam().writer(folder_.path());
    ZrDcmSequence* sequence = writer.startSequence("G0008-1140", true);
    ASSERT_NE(sequence, nullptr);
    for (const char* uid : {"2.25.1.1", "2.25.1.2"}) {
      ZrDcmData& item = sequence->items.append(ZrDcmData());
      ASSERT_TRUE(item.setDicomTag("G0008-1150", "1.2.840.10008.5.1.4.1.1.2", true));
      ASSERT_TRUE(item.setDicomTag("G0008-1155", uid, true));
    }
    std::vector<std::uint16_t> pixels = exporting::twelveSamples();
    ASSERT_TRUE(writer.writeImageAsIs(4, 3, pixels.data(), KtPrimType::U16, 1))
        << writer.lastError();
  }

  std::string file() const { return folder_.file("image.dcm").string(); }

  support::LogCapture log_;
  support::TempDir folder_;
};

TEST_P(FileOf, IsADicomFileToDcmftest) {
  if (!isInstalled("dcmftest")) {
    FAIL() << "dcmftest is not installed; make deps does it";
  }
  const exporting::CommandResult result = run("dcmftest " + file());

  EXPECT_EQ(result.status, 0) << result.output;
  EXPECT_THAT(result.output, HasSubstr("yes: "));
}

TEST_P(FileOf, IsDumpedByDcmdumpWithoutComplaint) {
  if (!isInstalled("dcmdump")) {
    FAIL() << "dcmdump is not installed; make deps does it";
  }
  const exporting::CommandResult result = run("dcmdump " + file());

  EXPECT_EQ(result.status, 0) << result.output;
  EXPECT_THAT(result.output, HasSubstr("(0010,0010) PN [Doe^John]"));
  EXPECT_THAT(result.output, Not(HasSubstr("W: ")));
  EXPECT_THAT(result.output, Not(HasSubstr("E: ")));
}

TEST_P(FileOf, IsReadByPydicomWithTheSameTagsAndSamples) {
  const std::string python = "/usr/bin/python3";
  if (run(python + " -c 'import pydicom, numpy'").status != 0) {
    FAIL() << "pydicom is not installed; make deps does it";
  }
  std::ofstream(folder_.file("read.py"))
      << "import sys, pydicom\n"
         "d = pydicom.dcmread(sys.argv[1])\n"
         "print(d.file_meta.TransferSyntaxUID, d.file_meta.MediaStorageSOPInstanceUID)\n"
         "print(d.file_meta.MediaStorageSOPClassUID == d.SOPClassUID)\n"
         "print(d.file_meta.ImplementationVersionName)\n"
         "print(d.PatientName, d.StudyDate, d.InstanceNumber, d.Rows, d.Columns)\n"
         "print([i.ReferencedSOPInstanceUID for i in d.ReferencedImageSequence])\n"
         "print(d.pixel_array.shape, d.pixel_array.dtype, d.pixel_array.flatten().tolist())\n";

  const exporting::CommandResult result =
      run(python + " " + folder_.file("read.py").string() + " " + file());

  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output,
            "1.2.840.10008.1.2.1 2.25.1.2.3\n"
            "True\n"
            "ZrDcmExport\n"
            "Doe^John 20200102 7 3 4\n"
            "['2.25.1.1', '2.25.1.2']\n"
            "(3, 4) uint16 [0, 1, 2, 255, 256, 257, 32767, 32768, 32769, 65534, 65535, 4095]\n");
}

TEST_P(FileOf, IsReadByGdcmWithTheSameTagsAndSamples) {
  if (!isInstalled("gdcmdump") || !isInstalled("gdcmraw")) {
    FAIL() << "gdcmdump and gdcmraw are not installed; make deps does it";
  }
  const exporting::CommandResult dump = run("gdcmdump " + file());
  const std::string raw = folder_.file("samples.raw").string();
  const exporting::CommandResult extracted = run("gdcmraw -i " + file() + " -o " + raw);

  EXPECT_EQ(dump.status, 0) << dump.output;
  EXPECT_THAT(dump.output, HasSubstr("Doe^John"));
  EXPECT_THAT(dump.output, HasSubstr("2.25.1.2"));
  ASSERT_EQ(extracted.status, 0) << extracted.output;
  std::vector<std::uint16_t> samples(13);
  std::ifstream stream(raw, std::ios::binary);
  stream.read(reinterpret_cast<char*>(samples.data()), 26);
  ASSERT_EQ(stream.gcount(), 24);
  samples.resize(12);
  EXPECT_EQ(samples, exporting::twelveSamples());
}

TEST_P(FileOf, IsValidToDciodvfy) {
  if (!isInstalled("dciodvfy")) {
    FAIL() << "dciodvfy is not installed; make deps does it";
  }
  const exporting::CommandResult result = run("dciodvfy " + file());

  EXPECT_EQ(result.status, 0) << result.output;
  EXPECT_THAT(result.output, Not(HasSubstr("Error"))) << result.output;
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, FileOf,
    testing::Values(Kind{"SecondaryCapture", exporting::secondaryCaptureWriter},
                    Kind{"CtImage", exporting::ctWriter}, Kind{"MrImage", exporting::mrWriter}),
    support::nameOf<Kind>);

// ---- every attribute and every sample, as DCMTK reads them ----

/// One line for every element of a dataset and its items: "0010,0010 PN Doe^John". The samples are
/// compared on their own.
using Listing = std::vector<std::string>;

constexpr const char* kPixelData = "7fe0,0010";

void list(DcmItem& item, Listing& lines) {
  for (unsigned long i = 0; i < item.card(); ++i) {
    DcmElement* element = item.getElement(i);
    const std::string key = element->getTag().toString().substr(1, 9);
    if (key == kPixelData) {
      lines.push_back(key);
    } else if (auto* sequence = dynamic_cast<DcmSequenceOfItems*>(element)) {
      lines.push_back(key + " SQ " + std::to_string(sequence->card()));
      for (unsigned long n = 0; n < sequence->card(); ++n) {
        list(*sequence->getItem(n), lines);
      }
    } else {
      OFString text;
      (void)element->getOFStringArray(text);  // empty where there is none
      lines.push_back(key + " " + DcmVR(element->getVR()).getVRName() + " " + text);
    }
  }
}

constexpr const char* kListWithPydicom = R"(
import pydicom, sys
def show(dataset):
    for e in dataset:
        key = '%04x,%04x' % (e.tag.group, e.tag.element)
        if key == '7fe0,0010':
            print(key)
        elif e.VR == 'SQ':
            print(key, 'SQ', len(e.value))
            for item in e.value:
                show(item)
        else:
            many = isinstance(e.value, pydicom.multival.MultiValue)
            values = e.value if many else [] if e.value in (None, '') else [e.value]
            print(key, e.VR, '\\'.join(str(value) for value in values))
d = pydicom.dcmread(sys.argv[1])
if sys.argv[2] == 'samples':
    print(d.pixel_array.flatten().tolist())
else:
    show(d)
)";

Listing linesOf(const std::string& text) {
  std::istringstream stream(text);
  Listing lines;
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

/// The lines of gdcmdump behind the meta information, in the form of ours.
Listing listingOfGdcm(const std::string& dump) {
  const std::regex element(R"( *\((\w{4},\w{4})\) (\w\w) (.*?) *#.*)");
  Listing lines;
  for (const std::string& line : linesOf(dump.substr(dump.find("# Dicom-Data-Set")))) {
    std::smatch parts;
    if (!std::regex_match(line, parts, element)) {
      continue;
    }
    std::string value = parts[3];
    if (parts[1] == kPixelData) {
      lines.push_back(kPixelData);
      continue;
    }
    if (value == "(no value)") {
      value.clear();
    } else if (value.front() == '[') {
      value = value.substr(1, value.size() - 2);
      value.erase(value.find_last_not_of(' ') + 1);
    }
    lines.push_back(std::string(parts[1]) + " " + std::string(parts[2]) + " " + value);
  }
  return lines;
}

/// As gdcmdump says it: items are not counted, and every byte beyond ASCII is a dot.
Listing asGdcmPrints(Listing lines) {
  for (std::string& line : lines) {
    std::replace_if(
        line.begin(), line.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; },
        '.');
    const std::size_t sequence = line.find(" SQ ");
    if (sequence != std::string::npos) {
      line.erase(sequence);
    }
  }
  return lines;
}

struct Content {
  const char* name;
  KtPrimType::Code type;
  int columns;
  const char* samples;  // as pydicom shows them
  std::vector<std::pair<const char*, const char*>> attributes;
};

constexpr const char* kUnsigned =
    "[0, 1, 2, 255, 256, 257, 32767, 32768, 32769, 65534, 65535, 4095]\n";

class FileWith : public testing::TestWithParam<Content> {
protected:
  void SetUp() override {
    ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder_.path());
    for (const auto& [key, value] : GetParam().attributes) {
      ASSERT_TRUE(writer.setDicomTag(key, value));
    }
    fillSequences(writer);
    std::vector<std::uint16_t> words = exporting::twelveSamples();
    std::vector<std::uint8_t> bytes = {0, 1, 127, 128, 254, 255, 7, 8, 9};
    const bool is8 = GetParam().type == KtPrimType::U8;
    void* pixels = is8 ? static_cast<void*>(bytes.data()) : words.data();
    ASSERT_TRUE(writer.writeImageAsIs(GetParam().columns, 3, pixels, GetParam().type, 1))
        << writer.lastError();
    list(*exporting::load(file())->getDataset(), listing_);
    ASSERT_GT(listing_.size(), 30U);
    std::ofstream(folder_.file("list.py")) << kListWithPydicom;
  }

  /// Two items, the first with a sequence of its own and the second without attributes.
  static void fillSequences(ZrDcmExportPrivate& writer) {
    ZrDcmSequence* outer = writer.startSequence("G0008-1115", true);
    ASSERT_NE(outer, nullptr);
    ZrDcmData& first = outer->items.append(ZrDcmData());
    ASSERT_TRUE(first.setDicomTag("G0020-000e", "2.25.5", true));
    ZrDcmSequence* inner = first.startSequence("G0008-1140", true);
    ASSERT_NE(inner, nullptr);
    ASSERT_TRUE(inner->items.append(ZrDcmData()).setDicomTag("G0008-1155", "2.25.6", true));
    outer->items.append(ZrDcmData());
  }

  std::string python(const std::string& what) const {
    return run("PYTHONIOENCODING=utf-8 /usr/bin/python3 " + folder_.file("list.py").string() + " " +
               file() + " " + what)
        .output;
  }

  std::string file() const { return folder_.file("image.dcm").string(); }

  support::LogCapture log_;
  support::TempDir folder_;
  Listing listing_;
};

TEST_P(FileWith, HasTheSameAttributesToPydicom) {
  if (run("/usr/bin/python3 -c 'import pydicom, numpy'").status != 0) {
    FAIL() << "pydicom is not installed; make deps does it";
  }
  EXPECT_EQ(linesOf(python("attributes")), listing_);
}

TEST_P(FileWith, HasTheSameSamplesToPydicom) {
  if (run("/usr/bin/python3 -c 'import pydicom, numpy'").status != 0) {
    FAIL() << "pydicom is not installed; make deps does it";
  }
  EXPECT_EQ(python("samples"), GetParam().samples);
}

TEST_P(FileWith, HasTheSameAttributesToGdcm) {
  if (!isInstalled("gdcmdump")) {
    FAIL() << "gdcmdump is not installed; make deps does it";
  }
  EXPECT_EQ(asGdcmPrints(listingOfGdcm(run("gdcmdump " + file()).output)), asGdcmPrints(listing_));
}

TEST_P(FileWith, HasTheSameSamplesToGdcm) {
  if (!isInstalled("gdcmraw")) {
    FAIL() << "gdcmraw is not installed; make deps does it";
  }
  const std::string raw = folder_.file("samples.raw").string();
  ASSERT_EQ(run("gdcmraw -i " + file() + " -o " + raw).status, 0);
  std::ifstream stream(raw, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(stream)), {});

  const auto content = exporting::load(file());
  DcmElement* pixelData = nullptr;
  Uint8* expected = nullptr;
  ASSERT_TRUE(content->getDataset()->findAndGetElement(DCM_PixelData, pixelData).good());
  ASSERT_TRUE(pixelData->getUint8Array(expected).good());
  EXPECT_EQ(bytes, std::string(reinterpret_cast<char*>(expected), pixelData->getLength()));
}

TEST_P(FileWith, IsDumpedByDcmdumpWithoutComplaint) {
  if (!isInstalled("dcmdump")) {
    FAIL() << "dcmdump is not installed; make deps does it";
  }
  const exporting::CommandResult result = run("dcmdump " + file());

  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, Not(HasSubstr("W: ")));
  EXPECT_THAT(result.output, Not(HasSubstr("E: ")));
}

INSTANTIATE_TEST_SUITE_P(
    Contents, FileWith,
    testing::Values(
        Content{"UnsignedSamples",
                KtPrimType::U16,
                4,
                kUnsigned,
                {{"G0028-0106", "0"}, {"G0028-0107", "65535"}, {"G0028-0120", "65535"}}},
        Content{"SignedSamples",
                KtPrimType::S16,
                4,
                "[0, 1, 2, 255, 256, 257, 32767, -32768, -32767, -2, -1, 4095]\n",
                {{"G0028-0103", "1"}, {"G0028-0106", "-32768"}, {"G0028-0120", "-2000"}}},
        Content{
            "OddBytes",
            KtPrimType::U8,
            3,
            "[0, 1, 127, 128, 254, 255, 7, 8, 9]\n",
            {{"G0028-0011", "3"}, {"G0028-0100", "8"}, {"G0028-0101", "8"}, {"G0028-0102", "7"}}},
        Content{"ManyValuesAndNone",
                KtPrimType::U16,
                4,
                kUnsigned,
                {{"G0008-0008", "DERIVED\\SECONDARY\\OTHER"},
                 {"G0010-0030", ""},
                 {"G0020-0011", ""},
                 {"G0028-0030", "0.5\\0.75"},
                 {"G0028-0034", "1\\1"},
                 {"G0028-1050", "40\\-600"},
                 {"G0028-1051", "400\\1500"}}},
        Content{"ForeignLetters",
                KtPrimType::U16,
                4,
                kUnsigned,
                {{"G0008-0005", "ISO_IR 192"}, {"G0010-0010", "M\xc3\xbcller^J\xc3\xb6rg"}}}),
    support::nameOf<Content>);

}  // namespace
