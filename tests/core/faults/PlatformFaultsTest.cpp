// SPDX-License-Identifier: BSD-3-Clause
// What the platform libraries allocate, when memory runs out.
#include "core/faults/FaultTrial.h"
#include "support/DatasetBuilder.h"
#include "support/TempDir.h"

#include <gx/GxParamBundle.h>
#include <gx/GxParameter.h>
#include <ktlib/KtBitfield.h>
#include <ktlib/KtFilename.h>
#include <ktlib/KtHandle.h>
#include <ktlib/KtLogFile.h>
#include <ktlib/KtStdStringTokenizer.h>
#include <wexlib/WexItemOF.h>
#include <zrvolren/ExDicomUtilitiesHelpers.h>
#include <zrvolren/ZrOverlayData.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using support::DatasetBuilder;

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
std::string textOf(const Platform& platform) {
  return platform.text;
}

class PlatformWithoutMemory : public faults::WithoutMemory {};

TEST_F(PlatformWithoutMemory, ReadsNumbersOrThrows) {
  expectKept<Platform>(
      faults::throws(),
      [](Platform& platform) {
        const auto numbers = ExDicomUtilities::stringToFloats("1\\2.5\\-3\\4e2", 4);
        platform.text = std::to_string(numbers.size());
        return true;
      },
      textOf);
}

TEST_F(PlatformWithoutMemory, ReadsThePhotometricInterpretationOrNot) {
  expectKept<Platform>(
      faults::throwsOrIsFalse(),
      [](Platform& platform) {
        KtString text;
        const bool found = ExDicomUtilities::getAndFixPhotometricInterpretation(
            platform.dataset.get(), EXS_LittleEndianExplicit, text);
        platform.text = text.str();
        return found;
      },
      textOf);
}

TEST_F(PlatformWithoutMemory, FindsAValueInASequenceOrNot) {
  expectKept<Platform>(
      faults::throwsOrIsFalse(),
      [](Platform& platform) {
        Wex::ItemOF item(*platform.dataset);
        std::unique_ptr<Wex::Item> nested;
        OFString value;
        const bool found = item.findAndGetSequenceItem(DCM_ModalityLUTSequence, nested, 0).good() &&
                           nested->findAndGetOFStringArray(DCM_LUTExplanation, value).good();
        platform.text = value.c_str();
        return found;
      },
      textOf);
}

TEST_F(PlatformWithoutMemory, BundlesParametersOrThrows) {
  expectKept<Platform>(
      faults::throws(),
      [](Platform& platform) {
        GxParamBundle bundle("a bundle with a name that takes memory");
        bundle.addBundle("Item_0").addParameter("name", "a text that takes memory as well");
        const GxParamBundle* const child = bundle.childBundle("Item_0");
        platform.text = static_cast<const GxParameter*>(child->param(0))->getString();
        return true;
      },
      textOf);
}

TEST_F(PlatformWithoutMemory, CropsAndKeepsAnOverlayOrThrows) {
  expectKept<Platform>(
      faults::throws(),
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
      textOf);
}

TEST_F(PlatformWithoutMemory, MakesAFolderOrNot) {
  expectKept<Platform>(
      faults::throwsOrIsFalse(),
      [](Platform& platform) {
        const KtFilename name(KtString::printf("%s/one/two/three", platform.folder.path().c_str()));
        const bool made = name.create(0755) && name.isDirectory();
        platform.text = made ? "made" : "";
        return made;
      },
      textOf);
}

TEST_F(PlatformWithoutMemory, LogsALineOrThrows) {
  expectKept<Platform>(
      faults::throws(),
      [](Platform& platform) {
        KtLogFile log;
        log.setSink(
            [&platform](KtLogFile::Level, const std::string& text) { platform.text = text; });
        log.printf("%s and %d more words that do not fit", "something", 7);
        return true;
      },
      textOf);
}

TEST_F(PlatformWithoutMemory, TakesATextApartOrThrows) {
  expectKept<Platform>(
      faults::throws(),
      [](Platform& platform) {
        KtStdStringTokenizer tokens("a token of more than fifteen letters|another", "|");
        platform.text.clear();
        while (tokens.hasMoreTokens()) {
          platform.text += tokens.nextToken() + ";";
        }
        return true;
      },
      textOf);
}

}  // namespace
