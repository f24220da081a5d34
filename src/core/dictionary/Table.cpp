// SPDX-License-Identifier: BSD-3-Clause
//
// The private data elements as one table each for other vendors, for this product and for internal
// use. A row is (tag, VR, VM, name, private creator); what is known of a vendor's element from real
// files stands above it.

#include "dictionary/Table.h"

#include <zrdcmexport/ExDCM.h>

namespace ExDCM::Dictionary {

// Deliberate: the element numbers are those within the block, unlike our own ones below. DCMTK tries
// the low byte of a key that has a private creator, so these rows serve every block a file uses.
// Test: VendorEntries.ResolveInEveryBlock
const std::array<VendorEntry, 20> kVendorEntries = {{
    // Another creator of this product, from before group 0x0071 was taken.
    {0x0009, 0x0010, EVR_UI, 1, "OriginalSeriesUID", "HalvornZorlan"},

    // GE MR and CT. Seen: DS "0.000000" (Discovery MR750), MidscanTime as DS "1520.163452"
    // (LightSpeed Ultra) and as explicit UN.
    {0x0019, 0x00bb, EVR_DS, 1, "GradientDirectionX", "GEMS_ACQU_01"},
    {0x0019, 0x00bc, EVR_DS, 1, "GradientDirectionY", "GEMS_ACQU_01"},
    {0x0019, 0x00bd, EVR_DS, 1, "GradientDirectionZ", "GEMS_ACQU_01"},
    {0x0019, 0x0024, EVR_DS, 1, "MidscanTime", "GEMS_ACQU_01"},

    // GE mammography writes the same element under two creators.
    {0x0021, 0x0020, EVR_DS, 3, "NipplePosition", "General Electric Company"},
    {0x0021, 0x0020, EVR_DS, 3, "NipplePosition", "General Electric Company 01"},

    // GE workstations; the block shares group 0x0071 with our own, only the creator tells them apart.
    {0x0071, 0x0001, EVR_CS, 1, "AnnotationModelType", "GEIIS_RA1000"},
    {0x0071, 0x0020, EVR_ST, 1, "PrivateFontName", "GEIIS_RA1000"},
    {0x0071, 0x0021, EVR_US, 1, "PrivateFontStyle", "GEIIS_RA1000"},
    {0x0071, 0x0022, EVR_US, 1, "PrivateFontSize", "GEIIS_RA1000"},

    // Philips PET: factors from stored values to g/ml and to Bq/ml.
    {0x7053, 0x0000, EVR_DS, 1, "PhilipsSUVFactor", "Philips PET Private Group"},
    {0x7053, 0x0009, EVR_DS, 1, "PhilipsBQMLFactor", "Philips PET Private Group"},

    // GE cardiac CT. Seen: CS "70" (LightSpeed Ultra); the value is a number of percent.
    {0x0045, 0x0033, EVR_DS, 1, "PctRpeakDelay", "GEMS_HELIOS_01"},

    {0x0029, 0x0000, EVR_LT, 1, "AGFAAnnotations", "MITRA OBJECT DOCUMENT 1.0"},

    // Siemens MR. Seen: IS "0" (Prisma).
    {0x0019, 0x000c, EVR_IS, 1, "BValue", "SIEMENS MR HEADER"},
    {0x0051, 0x0014, EVR_ST, 1, "SiemensVenc", "SIEMENS MR HEADER"},

    // Toshiba CT. Seen: explicit UN that holds the text of a UID (Aquilion).
    {0x7005, 0x0016, EVR_UI, 1, "ToshibaVolumeUID", "TOSHIBA_MEC_CT3"},
    {0x7005, 0x0005, EVR_SH, 1, "ToshibaCardiacPhase", "TOSHIBA_MEC_CT3"},

    {0x5363, 0x0008, EVR_SH, 1, "TransparaEILScore", "SCREENPOINT_TRANSPARA_MAMMO_CAD"},
}};

// Deliberate, because files with these VRs and VMs exist: RadiopharmaceuticalStartDateTime is ST, the
// sizes and the duration are ST texts, ImageBoxAndCenter holds one value.
// Test: OwnEntries/DictionaryRow.ResolvesAsInTheTable
const std::array<OwnEntry, 41> kOwnEntries = {{
    {&PrivateTag::QAHistory, EVR_UT, 1, "QAHistory"},
    {&PrivateTag::ManualQATimestamp, EVR_DT, 1, "ManualQATimestamp"},
    {&PrivateTag::OriginalSeriesNumber, EVR_IS, 1, "OriginalSeriesNumber"},
    {&PrivateTag::OriginalInstanceNumber, EVR_IS, 1, "OriginalInstanceNumber"},
    {&PrivateTag::OriginalFileFormat, EVR_ST, 1, "OriginalFileFormat"},
    {&PrivateTag::OriginalFileSize, EVR_ST, 1, "OriginalFileSize"},
    {&PrivateTag::OriginalFileData, EVR_OB, 1, "OriginalFileData"},
    {&PrivateTag::AudioDataVersion, EVR_ST, 1, "AudioDataVersion"},
    {&PrivateTag::AudioData, EVR_OB, 1, "AudioData"},
    {&PrivateTag::AudioFileFormat, EVR_ST, 1, "AudioFileFormat"},
    {&PrivateTag::AudioDuration, EVR_ST, 1, "AudioDuration"},
    {&PrivateTag::AudioDataSize, EVR_ST, 1, "AudioDataSize"},
    {&PrivateTag::AudioRecordUser, EVR_ST, 1, "AudioRecordUser"},
    {&PrivateTag::VolumeHash, EVR_UT, 1, "VolumeHash"},
    {&PrivateTag::VolumeSourceImages, EVR_SQ, 1, "VolumeSourceImages"},
    {&PrivateTag::AnnotationData, EVR_OB, 1, "AnnotationData"},
    {&PrivateTag::AnnotationDataVersion, EVR_ST, 1, "AnnotationDataVersion"},
    {&PrivateTag::KeyviewsData, EVR_OB, 1, "KeyviewsData"},
    {&PrivateTag::KeyviewsDataVersion, EVR_ST, 1, "KeyviewsDataVersion"},
    {&PrivateTag::ImageHorizontalFlip, EVR_CS, 1, "ImageHorizontalFlip"},
    {&PrivateTag::ImageRotation, EVR_FL, 1, "ImageRotation"},
    {&PrivateTag::SegmentationData, EVR_OB, 1, "SegmentationData"},
    {&PrivateTag::SegmentationDataVersion, EVR_ST, 1, "SegmentationDataVersion"},
    {&PrivateTag::MaterialData, EVR_OB, 1, "MaterialData"},
    {&PrivateTag::MaterialDataVersion, EVR_ST, 1, "MaterialDataVersion"},
    {&PrivateTag::SortIndexUID, EVR_UI, 1, "SortIndexUID"},
    {&PrivateTag::SortIndex, EVR_IS, 1, "SortIndex"},
    {&PrivateTag::BreastDCEData, EVR_OB, 1, "BreastDCEData"},
    {&PrivateTag::BreastDCEDataVersion, EVR_ST, 1, "BreastDCEDataVersion"},
    {&PrivateTag::RadiopharmaceuticalStartDateTime, EVR_ST, 1, "RadiopharmaceuticalStartDateTime"},
    {&PrivateTag::PerfusionAlgorithmVersion, EVR_ST, 1, "PerfusionAlgorithmVersion"},
    {&PrivateTag::PerfusionTimeTagCombinedAcqAndTriggerTime, EVR_TM, 1,
     "PerfusionTimeTagCombinedAcqAndTriggerTime"},
    {&PrivateTag::OriginalValuesSequence, EVR_SQ, 1, "OriginalValuesSequence"},
    {&PrivateTag::ImageBoxAndCenter, EVR_FL, 1, "ImageBoxAndCenter"},
    {&PrivateTag::VolumePixelSpacingUsed, EVR_DS, 2, "VolumePixelSpacingUsed"},
    {&PrivateTag::VolumePixelSpacingMin, EVR_DS, 2, "VolumePixelSpacingMin"},
    {&PrivateTag::VolumePixelSpacingMax, EVR_DS, 2, "VolumePixelSpacingMax"},
    {&PrivateTag::CropBox, EVR_LO, 1, "CropBox"},
    {&PrivateTag::ReportSketchDocument, EVR_UT, 1, "ReportSketchDocument"},
    {&PrivateTag::ReportSketchImageTemplate, EVR_OB, 1, "ReportSketchImageTemplate"},
    {&PrivateTag::RegistrationInfo, EVR_DS, 3, "RegistrationInfo"},
}};

const std::array<InternalEntry, 9> kInternalEntries = {{
    {0x7100, EVR_LO, "ZORLAN_DicomFilePath"},
    {0x7101, EVR_LO, "ZORLAN_DicomFileSuffix"},
    {0x7102, EVR_OB, "ZORLAN_TransferSyntax"},
    {0x7103, EVR_OB, "ZORLAN_VolumeIndex"},
    {0x7105, EVR_OB, "ZORLAN_PreviewImage"},
    {0x7106, EVR_OB, "ZORLAN_PreviewImageIndex"},
    {0x7108, EVR_OB, "ZORLAN_VolumeInfoMissing"},
    {0x710b, EVR_DS, "ZORLAN_DicomFileSize"},
    {0x7120, EVR_OB, "ZORLAN_AT_SeriesNumber"},
}};

}  // namespace ExDCM::Dictionary
