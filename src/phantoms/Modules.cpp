// SPDX-License-Identifier: BSD-3-Clause
// The modules that images of several frames bring beside their pixels, nested where the standard
// nests them.
#include "Modules.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <utility>

namespace phantoms {

namespace {

constexpr const char* kAxial = "1\\0\\0\\0\\1\\0";
constexpr const char* kAcquired = "20240229120000";

/// The corner of a slice: its first pixel.
std::string imagePositionOf(const SliceStack& stack, std::size_t slice) {
  const double corner = -stack.pixelMm * (static_cast<double>(stack.size) - 1) / 2;
  const double z = stack.firstMm + stack.spacingMm * static_cast<double>(slice);
  return decimal(corner) + "\\" + decimal(corner) + "\\" + decimal(z);
}

std::string twice(double value) {
  return decimal(value) + "\\" + decimal(value);
}

void putCode(DcmItem& item, const char* value, const char* scheme, const char* meaning) {
  put(item, DCM_CodeValue, value);
  put(item, DCM_CodingSchemeDesignator, scheme);
  put(item, DCM_CodeMeaning, meaning);
}

void describeDimensions(Builder& builder) {
  DcmItem& organization = builder.item(DCM_DimensionOrganizationSequence);
  const std::string uid = uidOf("5");
  put(organization, DCM_DimensionOrganizationUID, uid);
  DcmItem& index = builder.item(DCM_DimensionIndexSequence);
  put(index, DCM_DimensionIndexPointer, "(0020,9057)");   // In-Stack Position Number
  put(index, DCM_FunctionalGroupPointer, "(0020,9111)");  // of Frame Content
  put(index, DCM_DimensionOrganizationUID, uid);
}

void putFrameType(DcmItem& item) {
  put(item, DCM_FrameType, "ORIGINAL\\PRIMARY\\M\\NONE");
  put(item, DCM_PixelPresentation, "MONOCHROME");
  put(item, DCM_VolumetricProperties, "VOLUME");
  put(item, DCM_VolumeBasedCalculationTechnique, "NONE");
  put(item, DCM_ComplexImageComponent, "MAGNITUDE");
  put(item, DCM_AcquisitionContrast, "T2");
}

void describeSharedTiming(DcmItem& groups) {
  DcmItem& timing = itemOf(groups, DCM_MRTimingAndRelatedParametersSequence);
  put(timing, DCM_RepetitionTime, "4200");
  put(timing, DCM_FlipAngle, "90");
  put(timing, DCM_EchoTrainLength, "15");
  put(timing, DCM_RFEchoTrainLength, "15");
  put(timing, DCM_GradientEchoTrainLength, "0");
  DcmItem& absorption = itemOf(timing, DCM_SpecificAbsorptionRateSequence);
  put(absorption, DCM_SpecificAbsorptionRateDefinition, "IEC_HEAD");
  put(absorption, DCM_SpecificAbsorptionRateValue, "1.1");
  for (const auto& [index, type] : {std::pair{0, "STATIC FIELD"}, {1, "RF"}, {2, "GRADIENT"}}) {
    DcmItem& mode = itemOf(timing, DCM_OperatingModeSequence, static_cast<std::size_t>(index));
    put(mode, DCM_OperatingModeType, type);
    put(mode, DCM_OperatingMode, "IEC_NORMAL");
  }
  put(itemOf(groups, DCM_MREchoSequence), DCM_EffectiveEchoTime, "98");
  put(itemOf(groups, DCM_MRAveragesSequence), DCM_NumberOfAverages, "1");
}

void describeSharedFieldOfView(DcmItem& groups, const SliceStack& stack) {
  const std::string size = std::to_string(stack.size);
  DcmItem& view = itemOf(groups, DCM_MRFOVGeometrySequence);
  put(view, DCM_InPlanePhaseEncodingDirection, "ROW");
  put(view, DCM_MRAcquisitionFrequencyEncodingSteps, size);
  put(view, DCM_MRAcquisitionPhaseEncodingStepsInPlane, size);
  put(view, DCM_PercentSampling, "100");
  put(view, DCM_PercentPhaseFieldOfView, "100");
}

void describeSharedModifiers(DcmItem& groups) {
  DcmItem& modifier = itemOf(groups, DCM_MRModifierSequence);
  put(modifier, DCM_InversionRecovery, "NO");
  put(modifier, DCM_FlowCompensation, "NONE");
  put(modifier, DCM_Spoiling, "NONE");
  put(modifier, DCM_T2Preparation, "NO");
  put(modifier, DCM_SpectrallySelectedExcitation, "NONE");
  put(modifier, DCM_SpatialPresaturation, "NONE");
  put(modifier, DCM_PartialFourier, "NO");
  put(modifier, DCM_ParallelAcquisition, "NO");
  DcmItem& imaging = itemOf(groups, DCM_MRImagingModifierSequence);
  put(imaging, DCM_MagnetizationTransfer, "NONE");
  put(imaging, DCM_BloodSignalNulling, "NO");
  put(imaging, DCM_Tagging, "NONE");
  put(imaging, DCM_TransmitterFrequency, "63.87");
  put(imaging, DCM_PixelBandwidth, "190");
}

void describeSharedCoils(DcmItem& groups) {
  DcmItem& receiver = itemOf(groups, DCM_MRReceiveCoilSequence);
  put(receiver, DCM_ReceiveCoilName, "HEAD");
  put(receiver, DCM_ReceiveCoilManufacturerName, "");
  put(receiver, DCM_ReceiveCoilType, "VOLUME");
  put(receiver, DCM_QuadratureReceiveCoil, "YES");
  DcmItem& transmitter = itemOf(groups, DCM_MRTransmitCoilSequence);
  put(transmitter, DCM_TransmitCoilName, "BODY");
  put(transmitter, DCM_TransmitCoilManufacturerName, "");
  put(transmitter, DCM_TransmitCoilType, "BODY");
}

void describeSharedGroups(Builder& builder, const SliceStack& stack) {
  DcmItem& groups = builder.item(DCM_SharedFunctionalGroupsSequence);
  DcmItem& measures = itemOf(groups, DCM_PixelMeasuresSequence);
  put(measures, DCM_PixelSpacing, twice(stack.pixelMm));
  put(measures, DCM_SliceThickness, decimal(stack.spacingMm));
  put(measures, DCM_SpacingBetweenSlices, decimal(stack.spacingMm));
  put(itemOf(groups, DCM_PlaneOrientationSequence), DCM_ImageOrientationPatient, kAxial);
  DcmItem& anatomy = itemOf(groups, DCM_FrameAnatomySequence);
  put(anatomy, DCM_FrameLaterality, "U");
  putCode(itemOf(anatomy, DCM_AnatomicRegionSequence), "69536005", "SCT", "Head");
  putFrameType(itemOf(groups, DCM_MRImageFrameTypeSequence));
  describeSharedTiming(groups);
  describeSharedFieldOfView(groups, stack);
  describeSharedModifiers(groups);
  describeSharedCoils(groups);
  DcmItem& line = itemOf(groups, DCM_PixelValueTransformationSequence);
  put(line, DCM_RescaleIntercept, "0");
  put(line, DCM_RescaleSlope, "1");
  put(line, DCM_RescaleType, "US");
  DcmItem& window = itemOf(groups, DCM_FrameVOILUTSequence);
  put(window, DCM_WindowCenter, "1250");
  put(window, DCM_WindowWidth, "2500");
}

void describeFrameGroups(Builder& builder, const SliceStack& stack) {
  for (std::size_t i = 0; i < stack.slices; ++i) {
    DcmItem& groups = builder.item(DCM_PerFrameFunctionalGroupsSequence, i);
    const std::string number = std::to_string(i + 1);
    DcmItem& content = itemOf(groups, DCM_FrameContentSequence);
    put(content, DCM_StackID, "1");
    put(content, DCM_InStackPositionNumber, number);
    put(content, DCM_DimensionIndexValues, number);
    put(content, DCM_FrameAcquisitionNumber, "1");
    put(content, DCM_FrameReferenceDateTime, kAcquired);
    put(content, DCM_FrameAcquisitionDateTime, kAcquired);
    put(content, DCM_FrameAcquisitionDuration, "176400");
    put(itemOf(groups, DCM_PlanePositionSequence), DCM_ImagePositionPatient,
        imagePositionOf(stack, i));
  }
}

void describePulses(Builder& builder) {
  builder.with(DCM_PulseSequenceName, "tse2d").with(DCM_MRAcquisitionType, "2D");
  builder.with(DCM_EchoPulseSequence, "SPIN").with(DCM_MultipleSpinEcho, "YES");
  builder.with(DCM_MultiPlanarExcitation, "YES").with(DCM_PhaseContrast, "NO");
  builder.with(DCM_TimeOfFlightContrast, "NO").with(DCM_SteadyStatePulseSequence, "NONE");
  builder.with(DCM_EchoPlanarPulseSequence, "NO").with(DCM_SaturationRecovery, "NO");
  builder.with(DCM_SpectrallySelectedSuppression, "NONE");
  builder.with(DCM_OversamplingPhase, "NONE").with(DCM_GeometryOfKSpaceTraversal, "RECTILINEAR");
  builder.with(DCM_SegmentedKSpaceTraversal, "PARTIAL");
  builder.with(DCM_RectilinearPhaseEncodeReordering, "LINEAR");
  builder.with(DCM_KSpaceFiltering, "NONE").with(DCM_NumberOfKSpaceTrajectories, "1");
}

}  // namespace

void describeEmission(Builder& builder, const char* imageType) {
  builder.with(DCM_ImageType, imageType).with(DCM_CountsAccumulated, "");
  builder.withEmpty(DCM_EnergyWindowInformationSequence);
  builder.withEmpty(DCM_RadiopharmaceuticalInformationSequence);
  builder.withEmpty(DCM_DetectorInformationSequence);
  builder.withEmpty(DCM_PatientOrientationCodeSequence);
  builder.withEmpty(DCM_PatientGantryRelationshipCodeSequence);
  builder.with(DcmTag(DCM_NumberOfEnergyWindows), "1").with(DCM_NumberOfDetectors, "1");
  builder.with(DCM_NumberOfRotations, "1").withEmpty(DCM_RotationInformationSequence);
}

void describeReconstruction(Builder& builder, const SliceStack& stack) {
  builder.with(DCM_PixelSpacing, twice(stack.pixelMm));
  builder.with(DCM_SliceThickness, decimal(stack.spacingMm));
  builder.with(DCM_SpacingBetweenSlices, decimal(stack.spacingMm));
  builder.with(DCM_NumberOfSlices, std::to_string(stack.slices));
  // The orientation of the slices is an attribute of the detector that their data came from.
  DcmItem& detector = builder.item(DCM_DetectorInformationSequence);
  put(detector, DCM_CollimatorType, "PARA");
  put(detector, DCM_ImagePositionPatient, imagePositionOf(stack, 0));
  put(detector, DCM_ImageOrientationPatient, kAxial);
}

void describeEnhancedMr(Builder& builder, const SliceStack& stack) {
  builder.with(DCM_ImageType, "ORIGINAL\\PRIMARY\\M\\NONE");
  builder.with(DCM_ContentQualification, "RESEARCH").with(DCM_BodyPartExamined, "HEAD");
  builder.with(DCM_DeviceSerialNumber, "1").with(DCM_SoftwareVersions, "1");
  builder.with(DCM_PixelPresentation, "MONOCHROME").with(DCM_VolumetricProperties, "VOLUME");
  builder.with(DCM_VolumeBasedCalculationTechnique, "NONE");
  builder.with(DCM_ComplexImageComponent, "MAGNITUDE").with(DCM_AcquisitionContrast, "T2");
  builder.with(DCM_AcquisitionNumber, "1").with(DCM_AcquisitionDateTime, kAcquired);
  builder.with(DCM_AcquisitionDuration, "176.4").with(DCM_MagneticFieldStrength, "1.5");
  builder.with(DCM_ResonantNucleus, "1H").with(DCM_KSpaceFiltering, "NONE");
  builder.with(DCM_ApplicableSafetyStandardAgency, "IEC").with(DCM_PatientPosition, "HFS");
  builder.with(DCM_FrameOfReferenceUID, uidOf("4"));
  builder.withEmpty(DCM_PositionReferenceIndicator).withEmpty(DCM_AcquisitionContextSequence);
  builder.with(DCM_BurnedInAnnotation, "NO").with(DCM_LossyImageCompression, "00");
  builder.with(DCM_PresentationLUTShape, "IDENTITY");
  describePulses(builder);
  describeDimensions(builder);
  describeSharedGroups(builder, stack);
  describeFrameGroups(builder, stack);
}

}  // namespace phantoms
