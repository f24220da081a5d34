// SPDX-License-Identifier: BSD-3-Clause
// Lookup tables when memory runs out.
#include "core/faults/FaultTrial.h"
#include "core/faults/SamplesText.h"
#include "support/DatasetBuilder.h"
#include "support/TempDir.h"

#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrvolren/ZrMsg.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using ExDicomUtilities::LUT;
using faults::kEmptyTable;
using faults::kTableWithoutData;
using faults::throws;
using faults::throwsOrMakes;
using support::DatasetBuilder;

std::string describe(const LUT& lut) {
  return faults::describe(lut.entries) +
         (lut.entries.isNull() ? "" : " from " + std::to_string(lut.firstMapped));
}

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

struct Received {
  ZrMsg message;
  LUT lut;
  Received() { message << wideRgbTable(); }
};

template <class State>
std::string tableOf(const State& state) {
  return describe(state.lut);
}

class TablesWithoutMemory : public faults::WithoutMemory {};

TEST_F(TablesWithoutMemory, AreSetOrEmpty) {
  expectKept<Table>(
      throwsOrMakes({kEmptyTable}),
      [](Table& table) {
        table.lut.set(table.bytes, {}, 1, 7, false);
        return true;
      },
      tableOf<Table>);
}

TEST_F(TablesWithoutMemory, AreCopiedOrHaveNoData) {
  expectKept<Table>(
      throwsOrMakes({kTableWithoutData + " from -5"}),
      [](Table& table) {
        table.lut = table.source;
        return true;
      },
      tableOf<Table>);
}

TEST_F(TablesWithoutMemory, AreHashedOrThrow) {
  expectKept<Table>(
      throws(),
      [](Table& table) {
        table.text = table.source.hash().hex();
        return table.source.isValid(3);
      },
      [](const Table& table) { return table.text; });
}

TEST_F(TablesWithoutMemory, AreNarrowedOrStayAsTheyAre) {
  expectKept<Narrowed>(
      throwsOrMakes({describe(wideRgbTable())}),
      [](Narrowed& narrowed) {
        narrowed.lut.convertU161616ToU888();
        return true;
      },
      tableOf<Narrowed>);
}

TEST_F(TablesWithoutMemory, AreReadAsModalityTablesOrThrow) {
  expectKept<WithTables>(
      throws(),
      [](WithTables& with) {
        LUT::dcmDatasetRead(with.lut, *with.dataset, false);
        return true;
      },
      tableOf<WithTables>);
}

TEST_F(TablesWithoutMemory, AreReadAsPalettesOrThrow) {
  expectKept<WithTables>(
      throws(),
      [](WithTables& with) {
        LUT::dcmDatasetRead(with.lut, *with.dataset, true);
        return true;
      },
      tableOf<WithTables>);
}

// A file that DCMTK cannot open again is, in its words, a value that is not there.
TEST_F(TablesWithoutMemory, AreReadFromAFileOrEmpty) {
  expectKept<InAFile>(
      throwsOrMakes({kEmptyTable}),
      [](InAFile& in) {
        LUT::dcmDatasetRead(in.lut, *in.file.getDataset(), false);
        return true;
      },
      tableOf<InAFile>);
}

TEST_F(TablesWithoutMemory, AreWrittenWholeOrNotAtAll) {
  expectKept<Written>(
      throwsOrMakes({kEmptyTable}),
      [](Written& written) {
        LUT::dcmDatasetWrite(written.lut, written.dataset, true);
        return true;
      },
      [](const Written& written) {
        LUT lut;
        LUT::dcmDatasetRead(lut, const_cast<DcmDataset&>(written.dataset), true);
        return describe(lut);
      });
}

TEST_F(TablesWithoutMemory, AreReceivedOrHaveNoData) {
  expectKept<Received>(
      throwsOrMakes({kEmptyTable, kTableWithoutData + " from -5"}),
      [](Received& received) {
        ZrMsg copy(received.message.bytes());
        copy >> received.lut;
        return true;
      },
      tableOf<Received>);
}

}  // namespace
