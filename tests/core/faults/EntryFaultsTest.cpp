// SPDX-License-Identifier: BSD-3-Clause
// The other public entries when memory runs out: lookup tables, the sample transform, overlays, value
// texts, comparison, the log, the export writer, and what the platform libraries allocate.
#include "core/faults/FaultTrial.h"
#include "support/Compression.h"
#include "support/DatasetBuilder.h"
#include "support/ImageBuilder.h"
#include "support/Md5.h"
#include "support/RowName.h"
#include "support/TempDir.h"

#include <gx/GxParamBundle.h>
#include <ktlib/KtFilename.h>
#include <ktlib/KtLogFile.h>
#include <ktlib/KtStdStringTokenizer.h>
#include <wexlib/WexItemOF.h>
#include <zrdcmexport/ExDCM.h>
#include <zrdcmexport/ExDCMLog.h>
#include <zrdcmexport/ExDicomUtilitiesGlobal.h>
#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrdcmexport/ZrDcmExport.h>
#include <zrdcmexport/ZrSliceImage.h>
#include <zrvolren/ExDicomUtilitiesHelpers.h>
#include <zrvolren/ZrMsg.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numeric>
#include <string>
#include <vector>

namespace {

using ExDicomUtilities::LUT;
using faults::Contract;
using faults::Entry;
using faults::TrialOf;
using support::DatasetBuilder;
using support::monochromeImage;

const std::string kEmptyTable = "empty";
const std::string kTableWithoutData = "without data";

std::string describe(const KtHandle<ZrDataAccess>& samples) {
  if (samples.isNull()) {
    return kEmptyTable;
  }
  if (!samples->hasData()) {
    return kTableWithoutData;
  }
  const ZrDataAccess& data = *samples;
  return std::to_string(data.primType().primTypeSize()) + " bytes x " +
         std::to_string(data.nDataVar()) + ": " +
         support::md5Hex(data.dataPtr(0), static_cast<std::size_t>(data.size()));
}

std::string describe(const LUT& lut) {
  return describe(lut.entries) +
         (lut.entries.isNull() ? "" : " from " + std::to_string(lut.firstMapped));
}

template <class State>
Entry entry(const char* name, bool (*call)(State&), std::string (*result)(const State&),
            const Contract& contract) {
  return {name, [call, result] { return std::make_unique<TrialOf<State>>(call, result); },
          contract};
}

const Contract kThrows = {{}, true};
const Contract kThrowsOrIsFalse = {{""}, true};
const Contract kAllocatesNothing = {{}, false, {}, {}, false, false};

// ---- lookup tables ----

LUT wideRgbTable() {
  KtDArray<unsigned short> values;
  values.resize(48);
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = static_cast<unsigned short>(i * 700);
  }
  LUT lut;
  lut.set({}, values, 3, -5, true);
  return lut;
}

struct Table {
  KtDArray<unsigned char> bytes = {1, 2, 3, 4};
  LUT source = wideRgbTable();
  LUT lut;
  std::string text;
};
std::string tableOf(const Table& table) {
  return describe(table.lut);
}
std::string textOf(const Table& table) {
  return table.text;
}

struct Narrowed {
  LUT lut = wideRgbTable();
};

struct WithTables {
  std::unique_ptr<DcmDataset> dataset =
      DatasetBuilder()
          .withItem(DCM_ModalityLUTSequence, DatasetBuilder()
                                                 .withUint16s(DCM_LUTDescriptor, {4, 0, 16})
                                                 .withWords(DCM_LUTData, {0, 1000, 2000, 3000}))
          .withUint16s(DCM_RedPaletteColorLookupTableDescriptor, {4, 0, 16})
          .withUint16s(DCM_GreenPaletteColorLookupTableDescriptor, {4, 0, 16})
          .withUint16s(DCM_BluePaletteColorLookupTableDescriptor, {4, 0, 16})
          .withWords(DCM_RedPaletteColorLookupTableData, {0, 0x4000, 0x8000, 0xFF00})
          .withWords(DCM_GreenPaletteColorLookupTableData, {0xFF00, 0x8000, 0x4000, 0})
          .withWords(DCM_BluePaletteColorLookupTableData, {1, 2, 3, 4})
          .build();
  LUT lut;
};

/// Values stay in the file until they are asked for.
struct InAFile {
  support::TempDir folder;
  DcmFileFormat file;
  LUT lut;
  InAFile() {
    constexpr Uint32 kLongestLoadedAtOnce = 64;
    const std::string path = folder.file("table.dcm").string();
    const std::unique_ptr<DcmDataset> written =
        DatasetBuilder()
            .withItem(DCM_ModalityLUTSequence,
                      DatasetBuilder()
                          .withUint16s(DCM_LUTDescriptor, {64, 0, 16})
                          .withWords(DCM_LUTData, std::vector<Uint16>(64, 4711)))
            .build();
    EXPECT_TRUE(written->saveFile(path.c_str(), EXS_LittleEndianExplicit).good());
    EXPECT_TRUE(
        file.loadFile(path.c_str(), EXS_Unknown, EGL_noChange, kLongestLoadedAtOnce).good());
  }
};

struct Written {
  LUT lut = wideRgbTable();
  DcmDataset dataset;
};
std::string readBack(const Written& written) {
  LUT lut;
  LUT::dcmDatasetRead(lut, const_cast<DcmDataset&>(written.dataset), true);
  return describe(lut);
}

struct Received {
  ZrMsg message;
  LUT lut;
  Received() { message << wideRgbTable(); }
};

std::vector<Entry> tableEntries() {
  return {
      entry<Table>("LutSet",
                   [](Table& table) {
                     table.lut.set(table.bytes, {}, 1, 7, false);
                     return true;
                   },
                   tableOf, {{}, true, {kEmptyTable}}),
      entry<Table>("LutCopy",
                   [](Table& table) {
                     table.lut = table.source;
                     return true;
                   },
                   tableOf, {{}, true, {kTableWithoutData + " from -5"}}),
      entry<Table>(
          "LutHash",
          [](Table& table) {
            table.text = table.source.hash().hex();
            return table.source.isValid(3);
          },
          textOf, kThrows),
      entry<Narrowed>(
          "LutNarrowing",
          [](Narrowed& narrowed) {
            narrowed.lut.convertU161616ToU888();
            return true;
          },
          [](const Narrowed& narrowed) { return describe(narrowed.lut); },
          {{}, true, {describe(wideRgbTable())}}),
      entry<WithTables>(
          "LutReadingModality",
          [](WithTables& with) {
            LUT::dcmDatasetRead(with.lut, *with.dataset, false);
            return true;
          },
          [](const WithTables& with) { return describe(with.lut); }, kThrows),
      entry<WithTables>(
          "LutReadingPalette",
          [](WithTables& with) {
            LUT::dcmDatasetRead(with.lut, *with.dataset, true);
            return true;
          },
          [](const WithTables& with) { return describe(with.lut); }, kThrows),
      entry<InAFile>(
          "LutReadingFromAFile",
          [](InAFile& in) {
            LUT::dcmDatasetRead(in.lut, *in.file.getDataset(), false);
            return true;
          },
          [](const InAFile& in) { return describe(in.lut); },
          // A file that DCMTK cannot open again is, in its words, a value that is not there.
          {{}, true, {kEmptyTable}}),
      entry<Written>("LutWriting",
                     [](Written& written) {
                       LUT::dcmDatasetWrite(written.lut, written.dataset, true);
                       return true;
                     },
                     readBack, {{}, true, {kEmptyTable}}),
      entry<Received>(
          "LutReceiving",
          [](Received& received) {
            ZrMsg copy(received.message.bytes());
            copy >> received.lut;
            return true;
          },
          [](const Received& received) { return describe(received.lut); },
          {{}, true, {kEmptyTable, kTableWithoutData + " from -5"}}),
  };
}

// ---- samples and overlays ----

struct Transform {
  std::vector<std::int16_t> samples;
  KtHandle<ZrDataAccess> source;
  KtHandle<ZrDataAccess> target;
  LUT lut;
  int offset = 0;

  Transform() : samples(40000) {
    for (std::size_t i = 0; i < samples.size(); ++i) {
      samples[i] = static_cast<std::int16_t>(i * 13);
    }
    source = new ZrDataAccess(KtVec3l(200, 200, 1), KtVec3l(2, 400, 80000), samples.data(),
                              KtPrimType::S16, 1, KtAllocator(0));
  }
};

/// Through a table whose entries stand apart: they are brought together first.
struct TransformThroughATable : Transform {
  std::vector<std::uint16_t> spread = std::vector<std::uint16_t>(2048);

  TransformThroughATable() {
    std::iota(spread.begin(), spread.end(), std::uint16_t{777});
    lut.entries = new ZrDataAccess(KtVec3l(1024, 1, 1), KtVec3l(4, 4096, 4096), spread.data(),
                                   KtPrimType::U16, 1, KtAllocator(0));
  }
};

/// A slice that a caller files under a number.
struct Filing {
  Zrg::MultiFrameImage volumes{true};
  Zrg::SliceImage slice;
  std::vector<char> frame = std::vector<char>(64);
  Filing() {
    volumes.setNumberOfVolumes(1);
    slice.extent = KtVec3l(8, 8, 1);
    slice.bytesPerSample = 1;
    slice.data = frame.data();
  }
};

struct Overlays {
  std::unique_ptr<DcmDataset> dataset = monochromeImage(40, 4)
                                            .bitsStored(12)
                                            .frames(2)
                                            .overlayPlane(0x6000, 12)
                                            .overlayBits(0x6000, 12, {{1, 1}, {33, 2}}, 0)
                                            .overlayPlane(0x6002, 13)
                                            .overlayBits(0x6002, 13, {{5, 3}}, 0)
                                            .build();
  Zrg::SliceImage slice;
  Overlays() {
    std::string error;
    slice.convertSamples = false;
    EXPECT_TRUE(slice.process(*dataset, error, -1, -1, nullptr, 0));
    slice.overlays.reset();
  }
};

std::vector<Entry> sampleEntries() {
  return {
      entry<Transform>(
          "TransformIntoANewContainer",
          [](Transform& transform) {
            return ExDicomUtilities::extractSample_applyLUT_makeUnsigned(
                       transform.source, transform.target, transform.offset, transform.lut, false,
                       12, 11)
                .isOk();
          },
          [](const Transform& transform) {
            return describe(transform.target) + std::to_string(transform.offset);
          },
          kThrowsOrIsFalse),
      entry<Transform>(
          "TransformInPlace",
          [](Transform& transform) {
            return ExDicomUtilities::extractSample_applyLUT_makeUnsigned(
                       transform.source, transform.source, transform.offset, transform.lut, true,
                       12, 11)
                .isOk();
          },
          [](const Transform& transform) {
            return describe(transform.source) + std::to_string(transform.offset);
          },
          kAllocatesNothing),
      entry<TransformThroughATable>(
          "TransformThroughAStridedTable",
          [](TransformThroughATable& transform) {
            return ExDicomUtilities::extractSample_applyLUT_makeUnsigned(
                       transform.source, transform.target, transform.offset, transform.lut, false,
                       16, 15)
                .isOk();
          },
          [](const TransformThroughATable& transform) { return describe(transform.target); },
          kThrowsOrIsFalse),
      entry<Filing>(
          "FilingASlice",
          [](Filing& filing) {
            if (filing.volumes.numSlices(0) == 0) {  // none is left of a failure
              filing.volumes.addImage(0, 0, filing.slice, 7);
            }
            return true;
          },
          [](const Filing& filing) {
            auto& volumes = const_cast<Zrg::MultiFrameImage&>(filing.volumes);
            unsigned number = 0;
            return std::to_string(volumes.numSlices(0)) +
                   (volumes.getFrameNumber(0, 0, number) ? " with " + std::to_string(number) : "");
          },
          kThrows),
      entry<Overlays>(
          "OverlayExtraction",
          [](Overlays& overlays) {
            overlays.slice.extractEmbeddedOverlays(*overlays.dataset, 0, 1);
            return true;
          },
          [](const Overlays& overlays) {
            std::string text;
            const auto& found = overlays.slice.overlays;
            for (int i = 0; found.isNotNull() && i < found->count(); ++i) {
              text += std::to_string(found->group(i)) + ":" +
                      std::to_string(found->mask(i).count()) + " ";
            }
            return text;
          },
          kThrows),
  };
}

// ---- texts, comparison, the log ----

struct Value {
  DcmOtherByteOtherWord element;
  std::string text;
  Value() : element(DcmTag(DcmTagKey(0x0010, 0x4000), EVR_UN)) {
    const std::string bytes = "a text that is longer than a string holds without memory";
    (void)element.putUint8Array(reinterpret_cast<const Uint8*>(bytes.data()),
                                static_cast<unsigned long>(bytes.size()));
  }
};
struct Words {
  DcmOtherByteOtherWord element;
  std::string text;
  Words() : element(DcmTag(DCM_LUTData, EVR_OW)) {
    const std::vector<Uint16> words(40, 12345);
    (void)element.putUint16Array(words.data(), static_cast<unsigned long>(words.size()));
  }
};

struct Pair {
  std::unique_ptr<DcmDataset> first = dataset("4.5", "7");
  std::unique_ptr<DcmDataset> second = dataset("4.5", "9");
  int order = 0;
  static std::unique_ptr<DcmDataset> dataset(const char* echoTime, const char* number) {
    return DatasetBuilder()
        .with(DCM_ImageType, "ORIGINAL\\PRIMARY\\AXIAL\\AND\\MORE\\VALUES")
        .with(DCM_SeriesInstanceUID, "1.2.840.113619.2.55.3.604688119")
        .with(DCM_EchoTime, echoTime)
        .with(DCM_SliceThickness, "2.500000")
        .with(DCM_InstanceNumber, number)
        .build();
  }
};

struct Questions {
  std::unique_ptr<DcmDataset> dataset = monochromeImage(2, 2)
                                            .frames(4)
                                            .frameIncrementPointer("(0054,0080)")
                                            .with(DCM_SpacingBetweenSlices, "1")
                                            .build();
  std::string answers;
};

struct Nothing {};

std::vector<Entry> textEntries() {
  return {
      entry<Value>(
          "TextOfUnknown",
          [](Value& value) {
            DcmOtherByteOtherWord element(value.element);  // its VR is known afterwards
            return ExDCM::getOFStringFromUN(&element, value.text);
          },
          [](const Value& value) { return value.text; }, kThrowsOrIsFalse),
      entry<Words>(
          "TextOfWords",
          [](Words& words) { return ExDCM::getOFStringFromOBOW(&words.element, 4, words.text); },
          [](const Words& words) { return words.text; }, kThrowsOrIsFalse),
      entry<Pair>(
          "Compare",
          [](Pair& pair) {
            pair.order = ExDCM::compare(pair.first.get(), pair.second.get(), false, true, true,
                                        true, true, true);
            return true;
          },
          [](const Pair& pair) { return std::to_string(pair.order); }, kAllocatesNothing),
      entry<Questions>(
          "Predicates",
          [](Questions& asked) {
            asked.answers = std::to_string(int{Zrg::isMultiFrame(*asked.dataset)}) +
                            std::to_string(int{Zrg::isMultiFrameVolume(*asked.dataset)}) +
                            std::to_string(int{Zrg::isEnhancedDicom(*asked.dataset)});
            return true;
          },
          [](const Questions& asked) { return asked.answers; }, kThrows),
      entry<Nothing>(
          "ForwardingDcmtksLog",
          [](Nothing&) {
            ExDCM::forwardDcmtkLog();
            ExDCM::restoreDcmtkLog();
            return true;
          },
          [](const Nothing&) { return std::string(); }, kThrows),
  };
}

// ---- the export writer ----

struct Export {
  support::TempDir folder;
  ZrDcmExport writer;
  GxParamBundle bundle{"root"};
  std::vector<unsigned short> samples = std::vector<unsigned short>(12, 4000);
  std::string directory = folder.file("a directory that is made for the files").string();

  Export() {
    bundle.addParameter("G0010-0010", "PN: Doe^Jane with a name that does not fit");
    GxParamBundle& sequence = bundle.addBundle("G0008-1140");
    sequence.addBundle("Item_0").addParameter("G0008-1155", "UI: 1.2.840.10008.5.1.4.1.1.7.1");
  }
  bool prepare() {
    return writer.setOutputBaseDirectory(directory.c_str()) && writer.setFilename("image.dcm") &&
           writer.setDicomTag(0x0008, 0x0016, "1.2.840.10008.5.1.4.1.1.7") &&
           writer.setDicomTag(0x0008, 0x0018, "1.2.840.10008.5.1.4.1.1.7.99") &&
           writer.addParameters(&bundle);
  }
  std::string file() const {
    std::ifstream stream(directory + "/image.dcm", std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream),
                            std::istreambuf_iterator<char>()};
    return bytes.empty() ? "" : support::md5Hex(bytes.data(), bytes.size());
  }
};
struct PreparedExport : Export {
  PreparedExport() { EXPECT_TRUE(prepare()); }
};
std::vector<Entry> exportEntries() {
  return {
      entry<Export>(
          "ExportPreparation", [](Export& exported) { return exported.prepare(); },
          [](const Export& exported) {
            auto& writer = const_cast<Export&>(exported);
            EXPECT_TRUE(writer.writer.writeImageAsIs(4, 3, writer.samples.data()));
            return exported.file();
          },
          kThrowsOrIsFalse),
      entry<PreparedExport>(
          "ExportWriting",
          [](PreparedExport& exported) {
            return exported.writer.writeImageAsIs(4, 3, exported.samples.data());
          },
          [](const PreparedExport& exported) { return exported.file(); }, kThrowsOrIsFalse),
  };
}

// ---- platform libraries ----

struct Platform {
  support::TempDir folder;
  std::unique_ptr<DcmDataset> dataset =
      DatasetBuilder()
          .with(DCM_PhotometricInterpretation, "palette colour")
          .withItem(DCM_ModalityLUTSequence,
                    DatasetBuilder().with(DCM_LUTExplanation, "an explanation of some length"))
          .build();
  std::string text;
};
std::string platformText(const Platform& platform) {
  return platform.text;
}

std::vector<Entry> platformEntries() {
  return {
      entry<Platform>(
          "StringToFloats",
          [](Platform& platform) {
            const auto numbers = ExDicomUtilities::stringToFloats("1\\2.5\\-3\\4e2", 4);
            platform.text = std::to_string(numbers.size());
            return true;
          },
          platformText, kThrows),
      entry<Platform>(
          "PhotometricInterpretation",
          [](Platform& platform) {
            KtString text;
            const bool found = ExDicomUtilities::getAndFixPhotometricInterpretation(
                platform.dataset.get(), EXS_LittleEndianExplicit, text);
            platform.text = text.str();
            return found;
          },
          platformText, kThrowsOrIsFalse),
      entry<Platform>(
          "WexItem",
          [](Platform& platform) {
            Wex::ItemOF item(*platform.dataset);
            std::unique_ptr<Wex::Item> nested;
            OFString value;
            const bool found =
                item.findAndGetSequenceItem(DCM_ModalityLUTSequence, nested, 0).good() &&
                nested->findAndGetOFStringArray(DCM_LUTExplanation, value).good();
            platform.text = value.c_str();
            return found;
          },
          platformText, kThrowsOrIsFalse),
      entry<Platform>(
          "ParameterBundle",
          [](Platform& platform) {
            GxParamBundle bundle("a bundle with a name that takes memory");
            bundle.addBundle("Item_0").addParameter("name", "a text that takes memory as well");
            const GxParamBundle* const child = bundle.childBundle("Item_0");
            platform.text = static_cast<const GxParameter*>(child->param(0))->getString();
            return true;
          },
          platformText, kThrows),
      entry<Platform>(
          "OverlayData",
          [](Platform& platform) {
            KtVec2i origin(0, 0);
            KtVec2i size(64, 40);
            KtBitfield mask;
            mask.resize(64 * 40, KtBitfield::CLEARED);
            mask.set(700);
            mask.set(1900);
            ZrOverlayData::cropOverlayData(origin, size, mask);
            const KtHandle<ZrOverlayData> data(new ZrOverlayData(nullptr));
            const int index = data->addOverlayData(origin, size, mask, 0);
            platform.text = std::to_string(data->mask(index).count()) + " at " +
                            std::to_string(origin.x) + "," + std::to_string(origin.y);
            return true;
          },
          platformText, kThrows),
      entry<Platform>(
          "Filename",
          [](Platform& platform) {
            const KtFilename name(
                KtString::printf("%s/one/two/three", platform.folder.path().c_str()));
            const bool made = name.create(0755) && name.isDirectory();
            platform.text = made ? "made" : "";
            return made;
          },
          platformText, kThrowsOrIsFalse),
      entry<Platform>(
          "Log",
          [](Platform& platform) {
            KtLogFile log;
            log.setSink(
                [&platform](KtLogFile::Level, const std::string& text) { platform.text = text; });
            log.printf("%s and %d more words that do not fit", "something", 7);
            return true;
          },
          platformText, kThrows),
      entry<Platform>(
          "Tokenizer",
          [](Platform& platform) {
            KtStdStringTokenizer tokens("a token of more than fifteen letters|another", "|");
            platform.text.clear();
            while (tokens.hasMoreTokens()) {
              platform.text += tokens.nextToken() + ";";
            }
            return true;
          },
          platformText, kThrows),
  };
}

std::vector<Entry> allEntries() {
  std::vector<Entry> all;
  for (const auto& some :
       {tableEntries(), sampleEntries(), textEntries(), exportEntries(), platformEntries()}) {
    all.insert(all.end(), some.begin(), some.end());
  }
  return all;
}

class EntryInShortage : public testing::TestWithParam<Entry> {};

TEST_P(EntryInShortage, AnswersAndCanBeCalledAgain) {
  (void)support::silenceDcmtk();
  getTheLogInstance().setSink([](KtLogFile::Level, const std::string&) {});

  const long failures = faults::expectToSurviveShortages(GetParam());

  RecordProperty("allocations", std::to_string(failures));
  EXPECT_EQ(failures > 0, GetParam().contract.allocates);
}

INSTANTIATE_TEST_SUITE_P(Entries, EntryInShortage, testing::ValuesIn(allEntries()),
                         support::nameOf<Entry>);

}  // namespace
