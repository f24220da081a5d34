// SPDX-License-Identifier: BSD-3-Clause
// Value texts, comparison, predicates and the log when memory runs out.
#include "core/faults/FaultTrial.h"
#include "support/DatasetBuilder.h"
#include "support/ImageBuilder.h"

#include <zrdcmexport/ExDCM.h>
#include <zrdcmexport/ExDCMLog.h>
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using support::DatasetBuilder;
using support::monochromeImage;

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

class TextsWithoutMemory : public faults::WithoutMemory {};

TEST_F(TextsWithoutMemory, OfUnknownElementsAreReadOrNot) {
  expectKept<Value>(
      faults::throwsOrIsFalse(),
      [](Value& value) {
        DcmOtherByteOtherWord element(value.element);  // its VR is known afterwards
        return ExDCM::getOFStringFromUN(&element, value.text);
      },
      [](const Value& value) { return value.text; });
}

TEST_F(TextsWithoutMemory, OfWordsAreMadeOrNot) {
  expectKept<Words>(
      faults::throwsOrIsFalse(),
      [](Words& words) { return ExDCM::getOFStringFromOBOW(&words.element, 4, words.text); },
      [](const Words& words) { return words.text; });
}

class DatasetsWithoutMemory : public faults::WithoutMemory {};

TEST_F(DatasetsWithoutMemory, AreComparedWithoutAnyMemory) {
  expectKept<Pair>(
      faults::allocatesNothing(),
      [](Pair& pair) {
        pair.order = ExDCM::compare(pair.first.get(), pair.second.get(), false, true, true, true,
                                    true, true);
        return true;
      },
      [](const Pair& pair) { return std::to_string(pair.order); });
}

TEST_F(DatasetsWithoutMemory, AreAskedWhatTheyAreOrThrow) {
  expectKept<Questions>(
      faults::throws(),
      [](Questions& asked) {
        asked.answers = std::to_string(int{Zrg::isMultiFrame(*asked.dataset)}) +
                        std::to_string(int{Zrg::isMultiFrameVolume(*asked.dataset)}) +
                        std::to_string(int{Zrg::isEnhancedDicom(*asked.dataset)});
        return true;
      },
      [](const Questions& asked) { return asked.answers; });
}

class LogWithoutMemory : public faults::WithoutMemory {};

TEST_F(LogWithoutMemory, IsForwardedAndRestoredOrThrows) {
  expectKept<Nothing>(
      faults::throws(),
      [](Nothing&) {
        ExDCM::forwardDcmtkLog();
        ExDCM::restoreDcmtkLog();
        return true;
      },
      [](const Nothing&) { return std::string(); });
}

}  // namespace
