// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <zrimaging/ObjectFacts.h>

namespace zrdcm {

/// Adds to a report what an object is by its attributes. What is not said is null, a list without
/// anything empty.
///
/// | key            | value                                                                     |
/// |----------------|---------------------------------------------------------------------------|
/// | sopClass       | {uid, name, title}; title is the name in words; null without a class      |
/// | modality       | text                                                                      |
/// | patient        | {name, id, birthDate, sex}                                                |
/// | study          | {uid, date, time, description, accessionNumber}                           |
/// | series         | {uid, number, description, bodyPart, laterality}                          |
/// | instance       | {uid, number}                                                             |
/// | device         | {manufacturer, model, serialNumber, station, softwareVersions [texts]}    |
/// | transferSyntax | {uid, name, decodes}; name null where it is not known                     |
/// | pixelFormat    | {photometricInterpretation, bitsAllocated, bitsStored, highBit, signed}   |
/// | multiFrame, multiFrameVolume, enhanced | the library's predicates                          |
/// | frames         | {count, organization, dimensions [{tag, name, label, values}],            |
/// |                | totalPixelMatrix [columns, rows]}                                         |
/// | geometry       | {spacings [{name, betweenColumns, betweenRows, meaning}], calibration,    |
/// |                | calibrationDescription, pixelAspectRatio [height, width], magnification,  |
/// |                | sliceThickness, spacingBetweenSlices, frameOfReference, patientPosition,  |
/// |                | patientOrientation, directions}; lengths in mm                            |
/// | ultrasoundRegions | [{bounds [first column, first row, last column, last row],             |
/// |                | spatialFormat, dataType, units [x, y], delta, referencePixel,             |
/// |                | referenceValue, spacing [between columns, between rows] in mm}]           |
/// | luts           | {modality, palette, voi, segmentedPalette}: {entries, firstMapped, values, |
/// |                | bits} each; voi a list of them, with explanation                          |
/// | overlayPlanes  | [{group, columns, rows, origin [x, y], frames, embedded, type, label,     |
/// |                | description}]: planes that attributes announce, of both kinds             |
/// | privateCreators | [{name, known}]                                                          |
/// | content        | what an object is that has no pixels and needs none                       |
/// | contentTitle, contentType, contentParts | of such an object: text, MIME type, [{what, count}] |
void addFacts(nlohmann::ordered_json& report, const zr::ObjectFacts& facts);

}  // namespace zrdcm
