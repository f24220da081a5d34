// SPDX-License-Identifier: BSD-3-Clause
// What DCMTK needs before it decodes, and what has to be put right after it failed.
#include "decoding/Decoders.h"

#include "streams/NestedImages.h"
#include "streams/TransferSyntaxes.h"

#include <ktlib/KtLogFile.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcrledrg.h"
#include "dcmtk/dcmdata/dctk.h"
#include "dcmtk/dcmjpeg/djdecode.h"
#include "dcmtk/dcmjpls/djdecode.h"

#include <atomic>
#include <mutex>

namespace Zrg::Decoding {

namespace {

constexpr char kNoDictionary[] =
    "DCMTK has no data dictionary: attributes of implicit VR are unknown, and images seem to "
    "have no pixel data. DCMDICTPATH names its files.";

}  // namespace

void warnWithoutDictionary() {
  static std::atomic<bool> asked{false};
  if (!asked.exchange(true) && !dcmDataDict.isDictionaryLoaded()) {
    getTheLogInstance().warnf("%s", kNoDictionary);
  }
}

void registerDecoders() {
  // DCMTK remembers a registration in plain flags; two first calls at once would be a data race.
  static std::mutex registration;
  const std::scoped_lock lock(registration);
  DcmRLEDecoderRegistration::registerCodecs(OFFalse, OFFalse);
  DJDecoderRegistration::registerCodecs(EDC_guessLossyOnly, EUC_default, EPC_default, OFFalse,
                                        OFFalse, OFFalse);
  DJLSDecoderRegistration::registerCodecs(EJLSUC_default, EJLSPC_restore, OFFalse, OFFalse);
}

UnfinishedSamples::~UnfinishedSamples() {
  for (DcmPixelData* const pixelData : compressed_) {
    E_TransferSyntax syntax = EXS_Unknown;
    const DcmRepresentationParameter* parameter = nullptr;
    pixelData->getCurrentRepresentationKey(syntax, parameter);
    if (DcmXfer(syntax).isEncapsulated()) {
      pixelData->removeAllButCurrentRepresentations();
    }
  }
}

void UnfinishedSamples::watch(DcmPixelData& pixelData) {
  if (!pixelData.hasRepresentation(kExplicitLittleEndian, nullptr)) {
    compressed_.push_back(&pixelData);
  }
}

void UnfinishedSamples::watchAll(DcmItem& item) {
  (void)visitImages(item, [this](DcmItem&, DcmPixelData& pixelData) {
    watch(pixelData);
    return true;  // go on with the next
  });
}

}  // namespace Zrg::Decoding
