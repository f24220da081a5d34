// SPDX-License-Identifier: BSD-3-Clause
// What an object is, by its SOP Class UID: those without pixels by a table of classes and of
// families of classes, the others by DCMTK's name of the class.
#include "zrimaging/images/ObjectKind.h"

#include "zrimaging/File.h"

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
    Named{"1.2.840.10008.5.1.4.1.1.11", "a presentation state, how to show other objects"},
    Named{"1.2.840.10008.5.1.4.1.1.66", "raw data"},
    Named{"1.2.840.10008.5.1.4.1.1.66.1", "a spatial registration"},
    Named{"1.2.840.10008.5.1.4.1.1.66.2", "spatial fiducials"},
    Named{"1.2.840.10008.5.1.4.1.1.66.3", "a deformable spatial registration"},
    Named{"1.2.840.10008.5.1.4.1.1.66.5", "surfaces of segments"},
    Named{"1.2.840.10008.5.1.4.1.1.66.6", "tracts (tractography)"},
    Named{"1.2.840.10008.5.1.4.1.1.67", "a mapping to real world values"},
    Named{"1.2.840.10008.5.1.4.1.1.68", "a scanned surface"},
    Named{"1.2.840.10008.5.1.4.1.1.78", "measurements of an eye"},
    Named{"1.2.840.10008.5.1.4.1.1.79", "a macular grid report"},
    Named{"1.2.840.10008.5.1.4.1.1.80", "a visual field test"},
    Named{"1.2.840.10008.5.1.4.1.1.88", "a structured report"},
    Named{"1.2.840.10008.5.1.4.1.1.88.59", "a selection of key objects"},
    Named{"1.2.840.10008.5.1.4.1.1.104", "an encapsulated document"},
    Named{"1.2.840.10008.5.1.4.1.1.200", "a protocol of an acquisition"},
    Named{"1.2.840.10008.5.1.4.1.1.481.3", "a structure set, contours for radiotherapy"},
    Named{"1.2.840.10008.5.1.4.1.1.481.4", "a record of radiotherapy treatment"},
    Named{"1.2.840.10008.5.1.4.1.1.481.5", "a radiotherapy plan"},
    Named{"1.2.840.10008.5.1.4.1.1.481.6", "a record of radiotherapy treatment"},
    Named{"1.2.840.10008.5.1.4.1.1.481.7", "a record of radiotherapy treatment"},
    Named{"1.2.840.10008.5.1.4.1.1.481.8", "a radiotherapy plan for ions"},
    Named{"1.2.840.10008.5.1.4.1.1.481.9", "a record of radiotherapy treatment"},
    Named{"1.2.840.10008.5.1.4.34", "an instruction for radiotherapy"},
    Named{"1.2.840.10008.5.1.4.38", "a hanging protocol"},
    Named{"1.2.840.10008.5.1.4.39", "a colour palette"},
    Named{"1.2.840.10008.5.1.4.43", "a template of an implant"},
    Named{"1.2.840.10008.5.1.4.44", "an assembly of implants"},
    Named{"1.2.840.10008.5.1.4.45", "a group of implant templates"},
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

}  // namespace zr
