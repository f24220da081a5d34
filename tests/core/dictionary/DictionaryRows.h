// SPDX-License-Identifier: BSD-3-Clause
//
// What the dictionary has to say about every private element, row by row. Written down here a second
// time, by number and not through the library's own names, so that a slip in its tables shows.
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

struct ConstantRow {
  const char* name;
  const DcmTagKey* constant;
  Uint16 group;
  Uint16 element;
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

inline std::vector<DictionaryRow> ownRows() {
  return {
      {"QAHistory", 0x0071, 0x1021, EVR_UT, 1, "Zorlan"},
      {"ManualQATimestamp", 0x0071, 0x1022, EVR_DT, 1, "Zorlan"},
      {"OriginalSeriesNumber", 0x0071, 0x1031, EVR_IS, 1, "Zorlan"},
      {"OriginalInstanceNumber", 0x0071, 0x1032, EVR_IS, 1, "Zorlan"},
      {"OriginalFileFormat", 0x0071, 0x1041, EVR_ST, 1, "Zorlan"},
      {"OriginalFileSize", 0x0071, 0x1042, EVR_ST, 1, "Zorlan"},
      {"OriginalFileData", 0x0071, 0x1043, EVR_OB, 1, "Zorlan"},
      {"AudioDataVersion", 0x0071, 0x1051, EVR_ST, 1, "Zorlan"},
      {"AudioData", 0x0071, 0x1052, EVR_OB, 1, "Zorlan"},
      {"AudioFileFormat", 0x0071, 0x1053, EVR_ST, 1, "Zorlan"},
      {"AudioDuration", 0x0071, 0x1054, EVR_ST, 1, "Zorlan"},
      {"AudioDataSize", 0x0071, 0x1055, EVR_ST, 1, "Zorlan"},
      {"AudioRecordUser", 0x0071, 0x1056, EVR_ST, 1, "Zorlan"},
      {"VolumeHash", 0x0071, 0x1061, EVR_UT, 1, "Zorlan"},
      {"VolumeSourceImages", 0x0071, 0x1066, EVR_SQ, 1, "Zorlan"},
      {"AnnotationData", 0x0071, 0x1062, EVR_OB, 1, "Zorlan"},
      {"AnnotationDataVersion", 0x0071, 0x1063, EVR_ST, 1, "Zorlan"},
      {"KeyviewsData", 0x0071, 0x1064, EVR_OB, 1, "Zorlan"},
      {"KeyviewsDataVersion", 0x0071, 0x1065, EVR_ST, 1, "Zorlan"},
      {"ImageHorizontalFlip", 0x0071, 0x1071, EVR_CS, 1, "Zorlan"},
      {"ImageRotation", 0x0071, 0x1072, EVR_FL, 1, "Zorlan"},
      {"SegmentationData", 0x0071, 0x1081, EVR_OB, 1, "Zorlan"},
      {"SegmentationDataVersion", 0x0071, 0x1082, EVR_ST, 1, "Zorlan"},
      {"MaterialData", 0x0071, 0x1083, EVR_OB, 1, "Zorlan"},
      {"MaterialDataVersion", 0x0071, 0x1084, EVR_ST, 1, "Zorlan"},
      {"SortIndexUID", 0x0071, 0x1085, EVR_UI, 1, "Zorlan"},
      {"SortIndex", 0x0071, 0x1086, EVR_IS, 1, "Zorlan"},
      {"BreastDCEData", 0x0071, 0x10c1, EVR_OB, 1, "Zorlan"},
      {"BreastDCEDataVersion", 0x0071, 0x10c2, EVR_ST, 1, "Zorlan"},
      {"RadiopharmaceuticalStartDateTime", 0x0071, 0x10d1, EVR_ST, 1, "Zorlan"},
      {"PerfusionAlgorithmVersion", 0x0071, 0x1091, EVR_ST, 1, "Zorlan"},
      {"PerfusionTimeTagCombinedAcqAndTriggerTime", 0x0071, 0x1092, EVR_TM, 1, "Zorlan"},
      {"OriginalValuesSequence", 0x0071, 0x10a1, EVR_SQ, 1, "Zorlan"},
      {"ImageBoxAndCenter", 0x0071, 0x1070, EVR_FL, 1, "Zorlan"},
      {"VolumePixelSpacingUsed", 0x0071, 0x1075, EVR_DS, 2, "Zorlan"},
      {"VolumePixelSpacingMin", 0x0071, 0x1076, EVR_DS, 2, "Zorlan"},
      {"VolumePixelSpacingMax", 0x0071, 0x1077, EVR_DS, 2, "Zorlan"},
      {"CropBox", 0x0071, 0x1074, EVR_LO, 1, "Zorlan"},
      {"ReportSketchDocument", 0x0071, 0x10b1, EVR_UT, 1, "Zorlan"},
      {"ReportSketchImageTemplate", 0x0071, 0x10b2, EVR_OB, 1, "Zorlan"},
      {"RegistrationInfo", 0x0071, 0x1073, EVR_DS, 3, "Zorlan"},
  };
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

inline std::vector<ConstantRow> constantRows() {
  return {
      {"QAHistory", &ExDCM::PrivateTag::QAHistory, 0x0071, 0x1021},
      {"ManualQATimestamp", &ExDCM::PrivateTag::ManualQATimestamp, 0x0071, 0x1022},
      {"OriginalSeriesNumber", &ExDCM::PrivateTag::OriginalSeriesNumber, 0x0071, 0x1031},
      {"OriginalInstanceNumber", &ExDCM::PrivateTag::OriginalInstanceNumber, 0x0071, 0x1032},
      {"OriginalFileFormat", &ExDCM::PrivateTag::OriginalFileFormat, 0x0071, 0x1041},
      {"OriginalFileSize", &ExDCM::PrivateTag::OriginalFileSize, 0x0071, 0x1042},
      {"OriginalFileData", &ExDCM::PrivateTag::OriginalFileData, 0x0071, 0x1043},
      {"AudioDataVersion", &ExDCM::PrivateTag::AudioDataVersion, 0x0071, 0x1051},
      {"AudioData", &ExDCM::PrivateTag::AudioData, 0x0071, 0x1052},
      {"AudioFileFormat", &ExDCM::PrivateTag::AudioFileFormat, 0x0071, 0x1053},
      {"AudioDuration", &ExDCM::PrivateTag::AudioDuration, 0x0071, 0x1054},
      {"AudioDataSize", &ExDCM::PrivateTag::AudioDataSize, 0x0071, 0x1055},
      {"AudioRecordUser", &ExDCM::PrivateTag::AudioRecordUser, 0x0071, 0x1056},
      {"VolumeHash", &ExDCM::PrivateTag::VolumeHash, 0x0071, 0x1061},
      {"VolumeSourceImages", &ExDCM::PrivateTag::VolumeSourceImages, 0x0071, 0x1066},
      {"AnnotationData", &ExDCM::PrivateTag::AnnotationData, 0x0071, 0x1062},
      {"AnnotationDataVersion", &ExDCM::PrivateTag::AnnotationDataVersion, 0x0071, 0x1063},
      {"KeyviewsData", &ExDCM::PrivateTag::KeyviewsData, 0x0071, 0x1064},
      {"KeyviewsDataVersion", &ExDCM::PrivateTag::KeyviewsDataVersion, 0x0071, 0x1065},
      {"ImageHorizontalFlip", &ExDCM::PrivateTag::ImageHorizontalFlip, 0x0071, 0x1071},
      {"ImageRotation", &ExDCM::PrivateTag::ImageRotation, 0x0071, 0x1072},
      {"SegmentationData", &ExDCM::PrivateTag::SegmentationData, 0x0071, 0x1081},
      {"SegmentationDataVersion", &ExDCM::PrivateTag::SegmentationDataVersion, 0x0071, 0x1082},
      {"MaterialData", &ExDCM::PrivateTag::MaterialData, 0x0071, 0x1083},
      {"MaterialDataVersion", &ExDCM::PrivateTag::MaterialDataVersion, 0x0071, 0x1084},
      {"SortIndexUID", &ExDCM::PrivateTag::SortIndexUID, 0x0071, 0x1085},
      {"SortIndex", &ExDCM::PrivateTag::SortIndex, 0x0071, 0x1086},
      {"BreastDCEData", &ExDCM::PrivateTag::BreastDCEData, 0x0071, 0x10c1},
      {"BreastDCEDataVersion", &ExDCM::PrivateTag::BreastDCEDataVersion, 0x0071, 0x10c2},
      {"RadiopharmaceuticalStartDateTime", &ExDCM::PrivateTag::RadiopharmaceuticalStartDateTime,
       0x0071, 0x10d1},
      {"PerfusionAlgorithmVersion", &ExDCM::PrivateTag::PerfusionAlgorithmVersion, 0x0071, 0x1091},
      {"PerfusionTimeTagCombinedAcqAndTriggerTime",
       &ExDCM::PrivateTag::PerfusionTimeTagCombinedAcqAndTriggerTime, 0x0071, 0x1092},
      {"OriginalValuesSequence", &ExDCM::PrivateTag::OriginalValuesSequence, 0x0071, 0x10a1},
      {"ImageBoxAndCenter", &ExDCM::PrivateTag::ImageBoxAndCenter, 0x0071, 0x1070},
      {"VolumePixelSpacingUsed", &ExDCM::PrivateTag::VolumePixelSpacingUsed, 0x0071, 0x1075},
      {"VolumePixelSpacingMin", &ExDCM::PrivateTag::VolumePixelSpacingMin, 0x0071, 0x1076},
      {"VolumePixelSpacingMax", &ExDCM::PrivateTag::VolumePixelSpacingMax, 0x0071, 0x1077},
      {"CropBox", &ExDCM::PrivateTag::CropBox, 0x0071, 0x1074},
      {"ReportSketchDocument", &ExDCM::PrivateTag::ReportSketchDocument, 0x0071, 0x10b1},
      {"ReportSketchImageTemplate", &ExDCM::PrivateTag::ReportSketchImageTemplate, 0x0071, 0x10b2},
      {"RegistrationInfo", &ExDCM::PrivateTag::RegistrationInfo, 0x0071, 0x1073},
  };
}

}  // namespace dict
