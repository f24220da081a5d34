// SPDX-License-Identifier: BSD-3-Clause
// What an object is, as JSON: one function for each subject.
#include "FactsReport.h"

#include "FrameValues.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>

namespace zrdcm {

namespace {

using Json = nlohmann::ordered_json;

template <class Value>
Json valueOrNull(const std::optional<Value>& value) {
  return value ? Json(*value) : Json(nullptr);
}

Json textsOrNull(const std::array<std::string, 2>& texts) {
  return {jsonTextOrNull(texts[0]), jsonTextOrNull(texts[1])};
}

Json numbersOrNull(const std::array<std::optional<double>, 2>& numbers) {
  return {jsonOrNull(numbers[0]), jsonOrNull(numbers[1])};
}

/// Puts a text of people into an object, which says when it holds escaped bytes.
void addText(Json& target, const char* name, const zr::ValueText& text) {
  target[name] = jsonTextOrNull(text.utf8);
  if (text.escaped) {
    target["escaped"] = true;
  }
}

Json patientOf(const zr::PatientFacts& facts) {
  Json patient;
  addText(patient, "name", facts.name);
  addText(patient, "id", facts.id);
  patient["birthDate"] = jsonTextOrNull(facts.birthDate);
  patient["sex"] = jsonTextOrNull(facts.sex);
  return patient;
}

Json studyOf(const zr::StudyFacts& facts) {
  Json study = {{"uid", jsonTextOrNull(facts.uid)},
                {"date", jsonTextOrNull(facts.date)},
                {"time", jsonTextOrNull(facts.time)}};
  addText(study, "description", facts.description);
  addText(study, "accessionNumber", facts.accessionNumber);
  return study;
}

Json seriesOf(const zr::SeriesFacts& facts) {
  Json series = {{"uid", jsonTextOrNull(facts.uid)}, {"number", valueOrNull(facts.number)}};
  addText(series, "description", facts.description);
  addText(series, "bodyPart", facts.bodyPart);
  series["laterality"] = jsonTextOrNull(facts.laterality);
  return series;
}

Json deviceOf(const zr::DeviceFacts& facts) {
  Json device;
  addText(device, "manufacturer", facts.manufacturer);
  addText(device, "model", facts.model);
  addText(device, "serialNumber", facts.serialNumber);
  addText(device, "station", facts.station);
  Json versions = Json::array();
  for (const zr::ValueText& version : facts.softwareVersions) {
    versions.push_back(version.utf8);
    if (version.escaped) {
      device["escaped"] = true;
    }
  }
  device["softwareVersions"] = std::move(versions);
  return device;
}

Json pixelFormatOf(const zr::PixelFormat& format) {
  return {{"photometricInterpretation", jsonTextOrNull(format.photometricInterpretation)},
          {"bitsAllocated", valueOrNull(format.bitsAllocated)},
          {"bitsStored", valueOrNull(format.bitsStored)},
          {"highBit", valueOrNull(format.highBit)},
          {"signed", valueOrNull(format.isSigned)}};
}

Json framesOf(const zr::FrameFacts& facts) {
  Json dimensions = Json::array();
  for (const zr::FrameDimension& dimension : facts.dimensions) {
    Json entry = {{"tag", dimension.tag}, {"name", jsonTextOrNull(dimension.name)}};
    addText(entry, "label", dimension.label);
    entry["values"] = valueOrNull(dimension.values);
    dimensions.push_back(std::move(entry));
  }
  return {{"count", valueOrNull(facts.count)},
          {"organization", jsonTextOrNull(facts.organization)},
          {"dimensions", std::move(dimensions)},
          {"totalPixelMatrix", valueOrNull(facts.totalPixelMatrix)}};
}

Json geometryOf(const zr::GeometryFacts& facts) {
  Json spacings = Json::array();
  for (const zr::SpacingFacts& spacing : facts.spacings) {
    spacings.push_back({{"name", spacing.name},
                        {"betweenColumns", spacing.betweenColumns},
                        {"betweenRows", spacing.betweenRows},
                        {"meaning", spacing.meaning}});
  }
  Json geometry = {{"spacings", std::move(spacings)},
                   {"calibration", jsonTextOrNull(facts.calibration)}};
  addText(geometry, "calibrationDescription", facts.calibrationDescription);
  geometry["pixelAspectRatio"] = valueOrNull(facts.pixelAspectRatio);
  geometry["magnification"] = jsonOrNull(facts.magnification);
  geometry["sliceThickness"] = jsonOrNull(facts.sliceThicknessMm);
  geometry["spacingBetweenSlices"] = jsonOrNull(facts.spacingBetweenSlicesMm);
  geometry["frameOfReference"] = jsonTextOrNull(facts.frameOfReference);
  geometry["patientPosition"] = jsonTextOrNull(facts.patientPosition);
  geometry["patientOrientation"] = jsonTextOrNull(facts.patientOrientation);
  geometry["directions"] = jsonTextOrNull(facts.directions);
  return geometry;
}

Json regionsOf(const std::vector<zr::UltrasoundRegion>& facts) {
  Json regions = Json::array();
  for (const zr::UltrasoundRegion& region : facts) {
    regions.push_back({{"bounds", valueOrNull(region.bounds)},
                       {"spatialFormat", jsonTextOrNull(region.spatialFormat)},
                       {"dataType", jsonTextOrNull(region.dataType)},
                       {"units", textsOrNull(region.units)},
                       {"delta", numbersOrNull(region.delta)},
                       {"referencePixel", numbersOrNull(region.referencePixel)},
                       {"referenceValue", numbersOrNull(region.referenceValue)},
                       {"spacing", valueOrNull(region.spacingMm)}});
  }
  return regions;
}

Json tableOf(const zr::TableFacts& table) {
  return {{"entries", table.entries},
          {"firstMapped", table.firstMapped},
          {"values", table.values},
          {"bits", table.bits}};
}

Json tableOrNull(const std::optional<zr::TableFacts>& table) {
  return table ? tableOf(*table) : Json(nullptr);
}

Json tablesOf(const zr::ObjectFacts& facts) {
  Json voi = Json::array();
  for (const zr::TableFacts& table : facts.voiTables) {
    Json entry = tableOf(table);
    addText(entry, "explanation", table.explanation);
    voi.push_back(std::move(entry));
  }
  return {{"modality", tableOrNull(facts.modalityTable)},
          {"palette", tableOrNull(facts.palette)},
          {"voi", std::move(voi)},
          {"segmentedPalette", tableOrNull(facts.segmentedPalette)}};
}

Json planesOf(const std::vector<zr::OverlayPlaneFacts>& facts) {
  Json planes = Json::array();
  for (const zr::OverlayPlaneFacts& plane : facts) {
    Json entry = {{"group", plane.group},
                  {"columns", valueOrNull(plane.columns)},
                  {"rows", valueOrNull(plane.rows)},
                  {"origin", valueOrNull(plane.origin)},
                  {"frames", valueOrNull(plane.frames)},
                  {"embedded", plane.embedded},
                  {"type", jsonTextOrNull(plane.type)}};
    addText(entry, "label", plane.label);
    addText(entry, "description", plane.description);
    planes.push_back(std::move(entry));
  }
  return planes;
}

Json creatorsOf(const std::vector<zr::PrivateCreator>& facts) {
  Json creators = Json::array();
  for (const zr::PrivateCreator& creator : facts) {
    Json entry;
    addText(entry, "name", creator.name);
    entry["known"] = creator.known;
    creators.push_back(std::move(entry));
  }
  return creators;
}

void addContent(Json& report, const zr::ContentFacts& content) {
  if (content.kind.empty()) {
    return;
  }
  report["content"] = content.kind;
  addText(report, "contentTitle", content.title);
  report["contentType"] = jsonTextOrNull(content.mimeType);
  report["contentParts"] = Json::array();
  for (const zr::PartCount& part : content.parts) {
    report["contentParts"].push_back({{"what", part.what}, {"count", part.count}});
  }
}

}  // namespace

void addFacts(Json& report, const zr::ObjectFacts& facts) {
  if (!facts.sopClass.uid.empty()) {
    report["sopClass"] = {{"uid", facts.sopClass.uid},
                          {"name", jsonTextOrNull(facts.sopClass.name)},
                          {"title", jsonTextOrNull(facts.sopClassTitle)}};
  }
  report["modality"] = jsonTextOrNull(facts.modality);
  report["patient"] = patientOf(facts.patient);
  report["study"] = studyOf(facts.study);
  report["series"] = seriesOf(facts.series);
  report["instance"] = {{"uid", jsonTextOrNull(facts.instance.uid)},
                        {"number", valueOrNull(facts.instance.number)}};
  report["device"] = deviceOf(facts.device);
  report["transferSyntax"] = {{"uid", jsonTextOrNull(facts.transferSyntax.uid)},
                              {"name", jsonTextOrNull(facts.transferSyntax.name)},
                              {"decodes", facts.transferSyntaxDecodes}};
  report["pixelFormat"] = pixelFormatOf(facts.pixelFormat);
  report["multiFrame"] = facts.multiFrame;
  report["multiFrameVolume"] = facts.multiFrameVolume;
  report["enhanced"] = facts.enhanced;
  report["frames"] = framesOf(facts.frames);
  report["geometry"] = geometryOf(facts.geometry);
  report["ultrasoundRegions"] = regionsOf(facts.ultrasoundRegions);
  report["luts"] = tablesOf(facts);
  report["overlayPlanes"] = planesOf(facts.overlayPlanes);
  report["privateCreators"] = creatorsOf(facts.privateCreators);
  addContent(report, facts.content);
}

}  // namespace zrdcm
