// SPDX-License-Identifier: BSD-3-Clause
//
// What the dictionary has to say about every private element, row by row. Written down here a
// second time, by number and not through the library's own names, so that a slip in its tables
// shows.
#pragma once

#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctagkey.h"
#include "dcmtk/dcmdata/dcvr.h"

#include <vector>

namespace dict {

struct DictionaryRow {
  const char* name;
  Uint16 group;
  Uint16 element;  // block 0x10 for elements with a private creator
  DcmEVR vr;
  int vm;
  const char* creator;  // null for internal elements

  DcmTagKey key() const { return {group, element}; }
};

/// An element of group 0x0071 under the creator "Zorlan", and the constant that names it.
struct OwnElement {
  const char* name;
  const DcmTagKey* constant;
  Uint16 element;
  DcmEVR vr;
  int vm;
};

inline std::vector<DictionaryRow> vendorRows() {
  return {
      {"OriginalSeriesUID", 0x0009, 0x1010, EVR_UI, 1, "HalvornZorlan"},
      {"GradientDirectionX", 0x0019, 0x10bb, EVR_DS, 1, "GEMS_ACQU_01"},
      {"GradientDirectionY", 0x0019, 0x10bc, EVR_DS, 1, "GEMS_ACQU_01"},
      {"GradientDirectionZ", 0x0019, 0x10bd, EVR_DS, 1, "GEMS_ACQU_01"},
      {"MidscanTime", 0x0019, 0x1024, EVR_DS, 1, "GEMS_ACQU_01"},
      {"NipplePosition", 0x0021, 0x1020, EVR_DS, 3, "General Electric Company"},
      {"NipplePosition", 0x0021, 0x1020, EVR_DS, 3, "General Electric Company 01"},
      {"AnnotationModelType", 0x0071, 0x1001, EVR_CS, 1, "GEIIS_RA1000"},
      {"PrivateFontName", 0x0071, 0x1020, EVR_ST, 1, "GEIIS_RA1000"},
      {"PrivateFontStyle", 0x0071, 0x1021, EVR_US, 1, "GEIIS_RA1000"},
      {"PrivateFontSize", 0x0071, 0x1022, EVR_US, 1, "GEIIS_RA1000"},
      {"PhilipsSUVFactor", 0x7053, 0x1000, EVR_DS, 1, "Philips PET Private Group"},
      {"PhilipsBQMLFactor", 0x7053, 0x1009, EVR_DS, 1, "Philips PET Private Group"},
      {"PctRpeakDelay", 0x0045, 0x1033, EVR_DS, 1, "GEMS_HELIOS_01"},
      {"AGFAAnnotations", 0x0029, 0x1000, EVR_LT, 1, "MITRA OBJECT DOCUMENT 1.0"},
      {"BValue", 0x0019, 0x100c, EVR_IS, 1, "SIEMENS MR HEADER"},
      {"SiemensVenc", 0x0051, 0x1014, EVR_ST, 1, "SIEMENS MR HEADER"},
      {"ToshibaVolumeUID", 0x7005, 0x1016, EVR_UI, 1, "TOSHIBA_MEC_CT3"},
      {"ToshibaCardiacPhase", 0x7005, 0x1005, EVR_SH, 1, "TOSHIBA_MEC_CT3"},
      {"TransparaEILScore", 0x5363, 0x1008, EVR_SH, 1, "SCREENPOINT_TRANSPARA_MAMMO_CAD"},
  };
}

inline std::vector<OwnElement> ownElements() {
  return {
      {"QAHistory", &ExDCM::PrivateTag::QAHistory, 0x1021, EVR_UT, 1},
      {"ManualQATimestamp", &ExDCM::PrivateTag::ManualQATimestamp, 0x1022, EVR_DT, 1},
      {"OriginalSeriesNumber", &ExDCM::PrivateTag::OriginalSeriesNumber, 0x1031, EVR_IS, 1},
      {"OriginalInstanceNumber", &ExDCM::PrivateTag::OriginalInstanceNumber, 0x1032, EVR_IS, 1},
      {"OriginalFileFormat", &ExDCM::PrivateTag::OriginalFileFormat, 0x1041, EVR_ST, 1},
      {"OriginalFileSize", &ExDCM::PrivateTag::OriginalFileSize, 0x1042, EVR_ST, 1},
      {"OriginalFileData", &ExDCM::PrivateTag::OriginalFileData, 0x1043, EVR_OB, 1},
      {"AudioDataVersion", &ExDCM::PrivateTag::AudioDataVersion, 0x1051, EVR_ST, 1},
      {"AudioData", &ExDCM::PrivateTag::AudioData, 0x1052, EVR_OB, 1},
      {"AudioFileFormat", &ExDCM::PrivateTag::AudioFileFormat, 0x1053, EVR_ST, 1},
      {"AudioDuration", &ExDCM::PrivateTag::AudioDuration, 0x1054, EVR_ST, 1},
      {"AudioDataSize", &ExDCM::PrivateTag::AudioDataSize, 0x1055, EVR_ST, 1},
      {"AudioRecordUser", &ExDCM::PrivateTag::AudioRecordUser, 0x1056, EVR_ST, 1},
      {"VolumeHash", &ExDCM::PrivateTag::VolumeHash, 0x1061, EVR_UT, 1},
      {"VolumeSourceImages", &ExDCM::PrivateTag::VolumeSourceImages, 0x1066, EVR_SQ, 1},
      {"AnnotationData", &ExDCM::PrivateTag::AnnotationData, 0x1062, EVR_OB, 1},
      {"AnnotationDataVersion", &ExDCM::PrivateTag::AnnotationDataVersion, 0x1063, EVR_ST, 1},
      {"KeyviewsData", &ExDCM::PrivateTag::KeyviewsData, 0x1064, EVR_OB, 1},
      {"KeyviewsDataVersion", &ExDCM::PrivateTag::KeyviewsDataVersion, 0x1065, EVR_ST, 1},
      {"ImageHorizontalFlip", &ExDCM::PrivateTag::ImageHorizontalFlip, 0x1071, EVR_CS, 1},
      {"ImageRotation", &ExDCM::PrivateTag::ImageRotation, 0x1072, EVR_FL, 1},
      {"SegmentationData", &ExDCM::PrivateTag::SegmentationData, 0x1081, EVR_OB, 1},
      {"SegmentationDataVersion", &ExDCM::PrivateTag::SegmentationDataVersion, 0x1082, EVR_ST, 1},
      {"MaterialData", &ExDCM::PrivateTag::MaterialData, 0x1083, EVR_OB, 1},
      {"MaterialDataVersion", &ExDCM::PrivateTag::MaterialDataVersion, 0x1084, EVR_ST, 1},
      {"SortIndexUID", &ExDCM::PrivateTag::SortIndexUID, 0x1085, EVR_UI, 1},
      {"SortIndex", &ExDCM::PrivateTag::SortIndex, 0x1086, EVR_IS, 1},
      {"BreastDCEData", &ExDCM::PrivateTag::BreastDCEData, 0x10c1, EVR_OB, 1},
      {"BreastDCEDataVersion", &ExDCM::PrivateTag::BreastDCEDataVersion, 0x10c2, EVR_ST, 1},
      {"RadiopharmaceuticalStartDateTime", &ExDCM::PrivateTag::RadiopharmaceuticalStartDateTime,
       0x10d1, EVR_ST, 1},
      {"PerfusionAlgorithmVersion", &ExDCM::PrivateTag::PerfusionAlgorithmVersion, 0x1091, EVR_ST,
       1},
      {"PerfusionTimeTagCombinedAcqAndTriggerTime",
       &ExDCM::PrivateTag::PerfusionTimeTagCombinedAcqAndTriggerTime, 0x1092, EVR_TM, 1},
      {"OriginalValuesSequence", &ExDCM::PrivateTag::OriginalValuesSequence, 0x10a1, EVR_SQ, 1},
      {"ImageBoxAndCenter", &ExDCM::PrivateTag::ImageBoxAndCenter, 0x1070, EVR_FL, 1},
      {"VolumePixelSpacingUsed", &ExDCM::PrivateTag::VolumePixelSpacingUsed, 0x1075, EVR_DS, 2},
      {"VolumePixelSpacingMin", &ExDCM::PrivateTag::VolumePixelSpacingMin, 0x1076, EVR_DS, 2},
      {"VolumePixelSpacingMax", &ExDCM::PrivateTag::VolumePixelSpacingMax, 0x1077, EVR_DS, 2},
      {"CropBox", &ExDCM::PrivateTag::CropBox, 0x1074, EVR_LO, 1},
      {"ReportSketchDocument", &ExDCM::PrivateTag::ReportSketchDocument, 0x10b1, EVR_UT, 1},
      {"ReportSketchImageTemplate", &ExDCM::PrivateTag::ReportSketchImageTemplate, 0x10b2, EVR_OB,
       1},
      {"RegistrationInfo", &ExDCM::PrivateTag::RegistrationInfo, 0x1073, EVR_DS, 3},
  };
}

inline std::vector<DictionaryRow> ownRows() {
  std::vector<DictionaryRow> rows;
  for (const OwnElement& own : ownElements()) {
    rows.push_back({own.name, 0x0071, own.element, own.vr, own.vm, "Zorlan"});
  }
  return rows;
}

inline std::vector<DictionaryRow> internalRows() {
  return {
      {"ZORLAN_DicomFilePath", 0x0006, 0x7100, EVR_LO, 1, nullptr},
      {"ZORLAN_DicomFileSuffix", 0x0006, 0x7101, EVR_LO, 1, nullptr},
      {"ZORLAN_TransferSyntax", 0x0006, 0x7102, EVR_OB, 1, nullptr},
      {"ZORLAN_VolumeIndex", 0x0006, 0x7103, EVR_OB, 1, nullptr},
      {"ZORLAN_PreviewImage", 0x0006, 0x7105, EVR_OB, 1, nullptr},
      {"ZORLAN_PreviewImageIndex", 0x0006, 0x7106, EVR_OB, 1, nullptr},
      {"ZORLAN_VolumeInfoMissing", 0x0006, 0x7108, EVR_OB, 1, nullptr},
      {"ZORLAN_DicomFileSize", 0x0006, 0x710b, EVR_DS, 1, nullptr},
      {"ZORLAN_AT_SeriesNumber", 0x0006, 0x7120, EVR_OB, 1, nullptr},
  };
}

/// How many entries registration adds.
inline int countOfRows() {
  return static_cast<int>(vendorRows().size() + ownRows().size() + internalRows().size());
}

}  // namespace dict
