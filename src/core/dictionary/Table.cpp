// SPDX-License-Identifier: BSD-3-Clause
//
// The private data elements as one table each for other vendors, for this product (its rows are in
// zrdcmexport/PrivateElements.def) and for internal use. A row is (tag, VR, VM, name, private
// creator); what is known of a vendor's element from real files is said above it.

#include "dictionary/Table.h"

namespace ExDCM::Dictionary {

namespace {

// Deliberate: the element numbers are those within the block, unlike our own ones below. DCMTK
// tries the low byte of a key that has a private creator, so these rows serve every block a file
// uses.
// Test: VendorEntries.ResolveInEveryBlock
constexpr VendorEntry kVendorRows[] = {
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

    // GE workstations; the block shares group 0x0071 with our own, only the creator tells them
    // apart.
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
};

constexpr OwnEntry kOwnRows[] = {
#define ZRDCMEXPORT_PRIVATE_ELEMENT(name, element, vr, vm) {element, EVR_##vr, vm, #name},
#include <zrdcmexport/PrivateElements.def>
};

constexpr InternalEntry kInternalRows[] = {
    {0x7100, EVR_LO, "ZORLAN_DicomFilePath"},     {0x7101, EVR_LO, "ZORLAN_DicomFileSuffix"},
    {0x7102, EVR_OB, "ZORLAN_TransferSyntax"},    {0x7103, EVR_OB, "ZORLAN_VolumeIndex"},
    {0x7105, EVR_OB, "ZORLAN_PreviewImage"},      {0x7106, EVR_OB, "ZORLAN_PreviewImageIndex"},
    {0x7108, EVR_OB, "ZORLAN_VolumeInfoMissing"}, {0x710b, EVR_DS, "ZORLAN_DicomFileSize"},
    {0x7120, EVR_OB, "ZORLAN_AT_SeriesNumber"},
};

}  // namespace

constinit const std::span<const VendorEntry> kVendorEntries = kVendorRows;
constinit const std::span<const OwnEntry> kOwnEntries = kOwnRows;
constinit const std::span<const InternalEntry> kInternalEntries = kInternalRows;

}  // namespace ExDCM::Dictionary
