// SPDX-License-Identifier: BSD-3-Clause
// The export writer: checks its directory, turns the tree of texts and a pixel buffer into a DCMTK
// file object and writes that, meta information first. The tree itself is ZrDcmData's matter, the
// way of the bytes to the disk ZrDcmOutputFile's.
#include "writing/ZrDcmExportPrivate.h"

#include "streams/TransferSyntaxes.h"
#include "writing/CallersSamples.h"
#include "writing/OutputFile.h"

#include <ktlib/KtFilename.h>
#include <ktlib/KtLogFile.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <memory>

#ifndef ZRDCMEXPORT_UID_ROOT
#error "the build names the root of our unique identifiers"
#endif

namespace {

// In order of occurrence; the missing blanks behind two brackets are part of the texts.
constexpr const char* kNoInputData = "[addParameters] No input data!";
constexpr const char* kNullPointer = "[writeImage] null pointer exception!";
constexpr const char* kInvalidDimensions =
    "[writeImage] invalid dimension parameters or samples per pixel argument!";
constexpr const char* kNoDataset = "[writeImage] failed to create dcmdataset!";
constexpr const char* kNoMetaInfo = "[writeImage] failed to create dcmmetainfo!";
constexpr const char* kTagsFailed = "[writeImage]failed to write dcm tags to dcmdataset!";
constexpr const char* kPixelDataFailed =
    "[writeImage]failed to write dcm pixel data to dcmdataset!";
constexpr const char* kNoDirectory = "[writeImage] no outputBaseDirectory specified!";
constexpr const char* kMetaInfoFailed = "[writeImage] failed to write metainfo!";
constexpr const char* kDatasetFailed = "[writeImage] failed to write dataset!";

// Reasons why one attribute cannot be written.
constexpr const char* kBesideSignedSamples = "cannot be written beside signed samples";
constexpr const char* kForbiddenCharacter = "holds a character that no text may hold";
constexpr const char* kNotInDictionary = "is not in the dictionary of DICOM";
constexpr const char* kNoTextForm = "has no text form (value representation %s)";

constexpr const char* kImplementationSuffix = ".1.0.51.20070901";

/// Deliberate: the decimal number 755, not the octal mode of these digits. It is handed on as it
/// is: hosts with a file library of their own rely on the number.
/// Test: SetOutputBaseDirectory.CreatesAMissingDirectory
constexpr int kDirectoryMode = 755;

/// File meta attributes belong to the writer (PS3.10 section 7.1).
///
/// Deliberate: a key counts as one by its text, "G0002-...". "G2-10", which names the same group,
/// does not and is written into the dataset.
/// Test: WriteImageAsIs.WritesOtherSpellingsOfTheFileMetaGroupIntoTheDataset
bool isFileMetaKey(const KtString& key) {
  return key.substr(0, 4) == KtString("G0002");
}

/// Whether an attribute describes sample values and therefore has the VR "US or SS", depending on
/// the Pixel Representation: smallest and largest values (0028,0106)..(0028,0111), Pixel Padding
/// Value (0028,0120). See PS3.6 section 6, PS3.3 C.7.6.3.
bool takesVrOfSamples(unsigned int group, unsigned int element) {
  return group == 0x0028 && (element == 0x0120 || (element >= 0x0106 && element <= 0x0111));
}

DcmTag dcmTag(unsigned int group, unsigned int element) {
  return {static_cast<Uint16>(group), static_cast<Uint16>(element)};
}

DcmTag tagWithVr(const ZrDcmTag& node, KtPrimType type) {
  DcmTag tag = dcmTag(node.group, node.element);
  if (takesVrOfSamples(node.group, node.element)) {
    if (type == KtPrimType::U16) {
      tag.setVR(EVR_US);
    } else if (type == KtPrimType::S16) {
      tag.setVR(EVR_SS);
    }
  }
  return tag;
}

/// Puts an attribute as text; an older one of the same tag goes.
OFCondition putText(DcmItem& item, const ZrDcmTag& node, KtPrimType type) {
  return item.putAndInsertString(tagWithVr(node, type), node.value.c_str(), true);
}

/// What DCMTK's refusal of a text means to the one who gave it.
std::string reasonOf(const OFCondition& refusal, const DcmTag& tag) {
  if (refusal == EC_UnknownVR) {
    return kNotInDictionary;
  }
  if (refusal == EC_IllegalCall) {
    return KtString::printf(kNoTextForm, DcmVR(tag.getEVR()).getVRName()).str();
  }
  return refusal.text();
}

/// Keyword of an attribute, or its numbers where the dictionary does not know it.
std::string attributeName(DcmTag tag) {
  return tag.isUnknownVR() ? tag.toString() : tag.getTagName();
}

/// Deliberate: 32 bits, converted to signed, as the writer has always counted; a caller of this
/// internal class keeps below. Test: WriteImageAsIs.CountsSamplesIn32Bits
int sampleCount(int dim1, int dim2, int samplesPerPixel) {
  return static_cast<int>(static_cast<unsigned int>(dim2) * static_cast<unsigned int>(dim1) *
                          static_cast<unsigned int>(samplesPerPixel));
}

/// Puts samples that stay where they are, to be written from there.
OFCondition insertSamples(DcmItem& dataset, DcmEVR vr, const void* pixels, Uint32 bytes) {
  auto element = std::make_unique<ZrDcmCallersSamples>(vr, pixels, bytes);
  const OFCondition status = dataset.insert(element.get(), true);
  if (status.good()) {
    (void)element.release();  // the dataset's now
  }
  return status;
}

/// Puts the samples unchanged; types other than the three of the writer put nothing.
OFCondition putPixelData(DcmItem& dataset, const void* pixels, int count, KtPrimType type) {
  const bool bytes = type == KtPrimType::U8;
  if (!bytes && type != KtPrimType::S16 && type != KtPrimType::U16) {
    return EC_Normal;
  }
  // A negative count becomes a huge one, which DCMTK refuses.
  const auto values = static_cast<unsigned long>(count);
  const unsigned long long size = values * (bytes ? sizeof(Uint8) : sizeof(Uint16));
  if (count > 0 && ZrDcmCallersSamples::takes(size)) {
    return insertSamples(dataset, bytes ? EVR_OB : EVR_OW, pixels, static_cast<Uint32>(size));
  }
  return bytes ? dataset.putAndInsertUint8Array(DCM_PixelData, static_cast<const Uint8*>(pixels),
                                                values)
               : dataset.putAndInsertUint16Array(DCM_PixelData, static_cast<const Uint16*>(pixels),
                                                 values);
}

/// Group lengths and lengths of sequences for the form in which the file is written.
void computeLengths(DcmItem& part) {
  // What cannot be computed shows when the part is written.
  (void)part.computeGroupLengthAndPadding(EGL_recalcGL, EPD_noChange, Zrg::kExplicitLittleEndian,
                                          EET_ExplicitLength, 0, 0, 0);
}

/// Whether the meta information has the values that DCMTK makes by itself. It does not tell when it
/// finds no memory for one of them, and writes the attribute without it.
bool isWhole(DcmMetaInfo& meta) {
  // The values themselves: an element without one may still have its length.
  Uint32 groupLength = 0;
  const Uint8* version = nullptr;
  const char* syntax = nullptr;
  return meta.findAndGetUint32(DCM_FileMetaInformationGroupLength, groupLength).good() &&
         meta.findAndGetUint8Array(DCM_FileMetaInformationVersion, version).good() &&
         version != nullptr && meta.findAndGetString(DCM_TransferSyntaxUID, syntax).good() &&
         syntax != nullptr;
}

}  // namespace

ZrDcmExportPrivate::ZrDcmExportPrivate()
    : implementationVersionName("ZrDcmExport"), uidRoot(ZRDCMEXPORT_UID_ROOT) {
  implementationClassUID = uidRoot;
  implementationClassUID += kImplementationSuffix;
}

bool ZrDcmExportPrivate::setDicomTag(const KtString& key, const KtString& value) {
  return ZrDcmData::setDicomTag(key, value, true) || fail(ZrDcmData::lastError);
}

bool ZrDcmExportPrivate::setOutputBaseDirectory(const char* path) {
  KtString directory(path);
  // Hosts with drives: a bare drive ("D:") means its current directory, not its root.
  if (!directory.empty() && directory[directory.length() - 1] == ':') {
    directory += "\\";
  }
  outputBaseDirectory = directory;

  const KtFilename file(directory);
  KtLogFile& log = getTheLogInstance();
  if (!file.exists()) {
    if (!file.create(kDirectoryMode)) {
      log.printf("Reformat: Unable to create base output directory %s", directory.c_str());
      return false;
    }
    return true;
  }
  if (!file.isDirectory()) {
    log.printf("Reformat: base output directory %s is not a directory", directory.c_str());
    return false;
  }
  if (!file.isWriteable()) {
    log.printf("Reformat: base output directory %s is read-only", directory.c_str());
    return false;
  }
  return true;
}

bool ZrDcmExportPrivate::setFilename(const char* name) {
  filename = KtString(name);
  return true;
}

bool ZrDcmExportPrivate::addParameters(const GxParamBundle* bundle) {
  if (bundle == nullptr) {
    return fail(kNoInputData);
  }
  if (!ZrDcmData::addParameters(bundle, true)) {
    return fail(ZrDcmData::lastError);
  }
  return true;
}

bool ZrDcmExportPrivate::writeImageAsIs(int dim1, int dim2, void* pixels, KtPrimType type,
                                        int samplesPerPixel) {
  refusedAttribute_.clear();
  if (pixels == nullptr) {
    return fail(kNullPointer);
  }
  if (dim1 <= 0 || dim2 <= 0 || samplesPerPixel <= 0) {
    return fail(kInvalidDimensions);
  }
  DcmFileFormat file;
  DcmDataset* dataset = file.getDataset();
  if (dataset == nullptr) {
    return fail(kNoDataset);
  }
  if (file.getMetaInfo() == nullptr) {
    return fail(kNoMetaInfo);
  }
  if (!fillMetaInfo(file)) {
    return fail(kMetaInfoFailed);
  }
  if (!writeDicomTags(dataset, this, type, true)) {
    return fail(kTagsFailed);
  }
  const int count = sampleCount(dim1, dim2, samplesPerPixel);
  if (putPixelData(*dataset, pixels, count, type).bad()) {
    return fail(kPixelDataFailed);
  }
  if (outputBaseDirectory.empty()) {
    return fail(kNoDirectory);
  }
  return writeFile(*file.getMetaInfo(), *dataset);
}

bool ZrDcmExportPrivate::writeDicomTags(DcmItem* item, const ZrDcmData* node, KtPrimType type,
                                        bool flag) {
  for (const ZrDcmTag& tag : node->tags) {
    if (isFileMetaKey(tag.key)) {
      continue;
    }
    const OFCondition put = putText(*item, tag, type);
    if (put.bad()) {
      const DcmTag refused = tagWithVr(tag, type);
      refusedAttribute_ = attributeName(refused) + ": " + reasonOf(put, refused);
      return false;
    }
  }
  for (const ZrDcmSequence& sequence : node->sequences) {
    const DcmTag tag = dcmTag(sequence.group, sequence.element);
    long number = 0;
    for (const ZrDcmData& itemNode : sequence.items) {
      DcmItem* child = nullptr;
      // Without an item there is nothing to fill: such an item is left out, and no failure.
      (void)item->findOrCreateSequenceItem(tag, child, number);
      if (child != nullptr && !writeDicomTags(child, &itemNode, type, flag)) {
        refusedAttribute_.insert(0, attributeName(tag) + "[" + std::to_string(number) + "].");
        return false;
      }
      ++number;
    }
  }
  return true;
}

std::string ZrDcmExportPrivate::reasonNotWritable(unsigned int group, unsigned int element,
                                                  const std::string& value, bool samplesAreSigned) {
  if (samplesAreSigned && takesVrOfSamples(group, element)) {
    return kBesideSignedSamples;
  }
  if (value.find('\0') != std::string::npos) {
    return kForbiddenCharacter;
  }
  const KtString key = KtString::printf("G%04x-%04x", group, element);
  const ZrDcmTag node(key, KtString(value));
  DcmItem scratch;
  const OFCondition put = putText(scratch, node, KtPrimType::U16);
  return put.good() ? std::string() : reasonOf(put, tagWithVr(node, KtPrimType::U16));
}

std::string ZrDcmExportPrivate::lastError() const {
  return lastError_.str();
}

void ZrDcmExportPrivate::setLastError(const KtString& message) {
  getTheLogInstance().printf("Reformat: %s", message.c_str());
  lastError_ = message;
}

bool ZrDcmExportPrivate::fail(const KtString& message) {
  setLastError(message);
  return false;
}

bool ZrDcmExportPrivate::fillMetaInfo(DcmFileFormat& file) const {
  // Makes the fixed attributes of the still empty file; `isWhole` sees what has failed.
  (void)file.validateMetaInfo(Zrg::kExplicitLittleEndian, EWM_fileformat);

  DcmMetaInfo& meta = *file.getMetaInfo();
  const auto put = [&meta](const DcmTagKey& key, const char* value) {
    return meta.putAndInsertString(key, value, true).good();
  };
  return put(DCM_MediaStorageSOPClassUID, dicomTag("G0008-0016", "")) &&
         put(DCM_MediaStorageSOPInstanceUID, dicomTag("G0008-0018", "")) &&
         put(DCM_ImplementationClassUID, implementationClassUID.c_str()) &&
         put(DCM_ImplementationVersionName, implementationVersionName.c_str());
}

bool ZrDcmExportPrivate::writeFile(DcmMetaInfo& metaInfo, DcmDataset& dataset) {
  const KtString path = KtString::printf("%s/%s", outputBaseDirectory.c_str(), filename.c_str());
  ZrDcmOutputFile output(path.c_str());
  computeLengths(metaInfo);
  computeLengths(dataset);
  if (!isWhole(metaInfo) || !output.write(metaInfo)) {
    return fail(kMetaInfoFailed);
  }
  if (!output.write(dataset)) {
    return fail(kDatasetFailed);
  }
  output.keep();
  return true;
}
