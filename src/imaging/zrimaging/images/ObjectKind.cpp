// SPDX-License-Identifier: BSD-3-Clause
// What an object is, by its SOP Class UID: those without pixels by a table of classes and of
// families of classes, the others by DCMTK's name of the class.
#include "zrimaging/images/ObjectKind.h"

#include "zrimaging/File.h"
#include "zrimaging/images/ItemValues.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <array>
#include <string_view>

namespace zr {

namespace {

struct Named {
  const char* uid;
  const char* name;
};

// PS3.4 B.5: objects without pixels, by the UID of their class or of a family of classes.
constexpr std::array kWithoutPixels = {
    Named{"1.2.840.10008.1.3.10", "a directory of files (DICOMDIR)"},
    Named{"1.2.840.10008.5.1.4.1.1.4.2", "spectra of magnetic resonance"},
    Named{"1.2.840.10008.5.1.4.1.1.9", "waveforms"},
    Named{"1.2.840.10008.5.1.4.1.1.9.100", "a presentation state, how to show waveforms"},
    Named{"1.2.840.10008.5.1.4.1.1.11", "a presentation state, how to show other objects"},
    Named{"1.2.840.10008.5.1.4.1.1.66", "raw data"},
    Named{"1.2.840.10008.5.1.4.1.1.66.1", "a spatial registration"},
    Named{"1.2.840.10008.5.1.4.1.1.66.2", "spatial fiducials"},
    Named{"1.2.840.10008.5.1.4.1.1.66.3", "a deformable spatial registration"},
    Named{"1.2.840.10008.5.1.4.1.1.66.5", "surfaces of segments"},
    Named{"1.2.840.10008.5.1.4.1.1.66.6", "tracts (tractography)"},
    Named{"1.2.840.10008.5.1.4.1.1.67", "a mapping to real world values"},
    Named{"1.2.840.10008.5.1.4.1.1.68", "a scanned surface"},
    Named{"1.2.840.10008.5.1.4.1.1.77.1.5.3", "a stereometric relationship of photographs"},
    Named{"1.2.840.10008.5.1.4.1.1.78", "measurements of an eye"},
    Named{"1.2.840.10008.5.1.4.1.1.79", "a macular grid report"},
    Named{"1.2.840.10008.5.1.4.1.1.80", "a visual field test"},
    Named{"1.2.840.10008.5.1.4.1.1.88", "a structured report"},
    Named{"1.2.840.10008.5.1.4.1.1.88.59", "a selection of key objects"},
    Named{"1.2.840.10008.5.1.4.1.1.90.1", "results of a content assessment"},
    Named{"1.2.840.10008.5.1.4.1.1.91.1", "annotations of microscopy images"},
    Named{"1.2.840.10008.5.1.4.1.1.104", "an encapsulated document"},
    Named{"1.2.840.10008.5.1.4.1.1.200", "a protocol of an acquisition"},
    Named{"1.2.840.10008.5.1.4.1.1.131", "a structured display of other objects"},
    Named{"1.2.840.10008.5.1.4.1.1.201.1", "an inventory of an archive"},
    Named{"1.2.840.10008.5.1.4.1.1.481.3", "a structure set, contours for radiotherapy"},
    Named{"1.2.840.10008.5.1.4.1.1.481.4", "a record of radiotherapy treatment"},
    Named{"1.2.840.10008.5.1.4.1.1.481.5", "a radiotherapy plan"},
    Named{"1.2.840.10008.5.1.4.1.1.481.6", "a record of radiotherapy treatment"},
    Named{"1.2.840.10008.5.1.4.1.1.481.7", "a record of radiotherapy treatment"},
    Named{"1.2.840.10008.5.1.4.1.1.481.8", "a radiotherapy plan for ions"},
    Named{"1.2.840.10008.5.1.4.1.1.481.9", "a record of radiotherapy treatment"},
    Named{"1.2.840.10008.5.1.4.1.1.481.10", "a physician's intent for radiotherapy"},
    Named{"1.2.840.10008.5.1.4.1.1.481.11", "an annotation of segments for radiotherapy"},
    Named{"1.2.840.10008.5.1.4.1.1.481.12", "a set of radiations for radiotherapy"},
    Named{"1.2.840.10008.5.1.4.1.1.481.13", "a radiation for radiotherapy"},
    Named{"1.2.840.10008.5.1.4.1.1.481.14", "a radiation for radiotherapy"},
    Named{"1.2.840.10008.5.1.4.1.1.481.15", "a radiation for radiotherapy"},
    Named{"1.2.840.10008.5.1.4.1.1.481.16", "a record of radiotherapy treatment"},
    Named{"1.2.840.10008.5.1.4.1.1.481.17", "a record of radiotherapy treatment"},
    Named{"1.2.840.10008.5.1.4.1.1.481.18", "a record of radiotherapy treatment"},
    Named{"1.2.840.10008.5.1.4.1.1.481.19", "a record of radiotherapy treatment"},
    Named{"1.2.840.10008.5.1.4.1.1.481.20", "a record of radiotherapy treatment"},
    Named{"1.2.840.10008.5.1.4.1.1.481.21", "an instruction for radiotherapy"},
    Named{"1.2.840.10008.5.1.4.1.1.481.22", "an instruction for radiotherapy"},
    Named{"1.2.840.10008.5.1.4.1.1.481.25", "an instruction for radiotherapy"},
    Named{"1.2.840.10008.5.1.4.34", "an instruction for radiotherapy"},
    Named{"1.2.840.10008.5.1.4.38", "a hanging protocol"},
    Named{"1.2.840.10008.5.1.4.39", "a colour palette"},
    Named{"1.2.840.10008.5.1.4.43", "a template of an implant"},
    Named{"1.2.840.10008.5.1.4.44", "an assembly of implants"},
    Named{"1.2.840.10008.5.1.4.45", "a group of implant templates"},
};

/// A sequence whose items people count.
struct Countable {
  DcmTagKey sequence;
  const char* what;
};

const std::array kCountables = {
    Countable{DCM_DirectoryRecordSequence, "records"},
    Countable{DCM_StructureSetROISequence, "structures"},
    Countable{DCM_BeamSequence, "beams"},
    Countable{DCM_IonBeamSequence, "beams"},
    Countable{DCM_ApplicationSetupSequence, "application setups"},
    Countable{DCM_FractionGroupSequence, "fraction groups"},
    Countable{DCM_TreatmentSessionBeamSequence, "beams treated"},
    Countable{DCM_WaveformSequence, "multiplex groups"},
    Countable{DCM_RegistrationSequence, "registrations"},
    Countable{DCM_DeformableRegistrationSequence, "registrations"},
    Countable{DCM_FiducialSetSequence, "sets of fiducials"},
    Countable{DCM_SegmentSequence, "segments"},
    Countable{DCM_SurfaceSequence, "surfaces"},
    Countable{DCM_TrackSetSequence, "sets of tracks"},
    Countable{DCM_GraphicAnnotationSequence, "graphic annotations"},
    Countable{DCM_ReferencedSeriesSequence, "series referred to"},
    Countable{DCM_ContentSequence, "content items at the top"},
};

constexpr const char* kUnnamedWithoutPixels = "an object without pixels";

bool isOfFamily(std::string_view uid, std::string_view family) {
  return uid.substr(0, family.size()) == family &&
         (uid.size() == family.size() || uid[family.size()] == '.');
}

/// The entry with the longest UID that `uid` is or begins with.
const char* meaningOf(const std::string& uid) {
  const Named* best = nullptr;
  for (const Named& entry : kWithoutPixels) {
    if (isOfFamily(uid, entry.uid) && (best == nullptr || std::string_view(entry.uid).size() >
                                                              std::string_view(best->uid).size())) {
      best = &entry;
    }
  }
  return best == nullptr ? nullptr : best->name;
}

bool holdsPixels(DcmItem& item) {
  return item.tagExists(DCM_PixelData) || item.tagExists(DCM_FloatPixelData) ||
         item.tagExists(DCM_DoubleFloatPixelData) || item.tagExists(DCM_PixelDataProviderURL);
}

/// SOP Class UID; empty also when it is no UID, as an element of unknown VR is shown in digits.
std::string classOf(DcmItem& item) {
  const std::string uid = textOf(item, DCM_SOPClassUID);
  return uid.find('.') != std::string::npos ? uid : std::string();
}

std::string nameOf(const std::string& uid) {
  const char* const name = uid.empty() ? nullptr : dcmFindNameOfUID(uid.c_str());
  return name == nullptr ? uid : name;
}

/// What the object calls itself: title of a document, label of a plan, concept of a report.
ValueText titleOf(DcmItem& dataset) {
  for (const DcmTagKey& key :
       {DCM_DocumentTitle, DCM_RTPlanLabel, DCM_StructureSetLabel, DCM_ContentLabel}) {
    ValueText title = nameAt(dataset, key);
    if (!title.utf8.empty()) {
      return title;
    }
  }
  const std::vector<DcmItem*> concepts = itemsAt(dataset, DCM_ConceptNameCodeSequence);
  return concepts.empty() ? ValueText{} : nameAt(*concepts.front(), DCM_CodeMeaning);
}

}  // namespace

std::string classNameOf(DcmItem& dataset) {
  return nameOf(classOf(dataset));
}

std::string describeWithoutPixels(DcmItem& dataset) {
  const std::string uid = classOf(dataset);
  if (uid.empty() || holdsPixels(dataset)) {
    return "";
  }
  if (const char* const meaning = meaningOf(uid)) {
    return meaning;
  }
  const bool isImage =
      nameOf(uid).find("Image") != std::string::npos || dataset.tagExists(DCM_Rows);
  return isImage ? "" : kUnnamedWithoutPixels;
}

ContentFacts describeContent(DcmItem& dataset) {
  ContentFacts content;
  content.kind = describeWithoutPixels(dataset);
  if (content.kind.empty()) {
    return content;
  }
  content.title = titleOf(dataset);
  content.mimeType = textAt(dataset, DCM_MIMETypeOfEncapsulatedDocument);
  for (const Countable& countable : kCountables) {
    if (dataset.tagExists(countable.sequence)) {
      content.parts.push_back({countable.what, itemsAt(dataset, countable.sequence).size()});
    }
  }
  return content;
}

}  // namespace zr
