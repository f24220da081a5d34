// SPDX-License-Identifier: BSD-3-Clause
// The report on a file as a listing: a line for each subject, left out where nothing is said of it.
#include "FileListing.h"

#include "Messages.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <string>
#include <utility>
#include <vector>
#include <zrimaging/Text.h>

namespace zrdcm {

namespace {

using Json = nlohmann::ordered_json;

std::string plain(const Json& value) {
  if (value.is_null()) {
    return "-";
  }
  if (value.is_number_float()) {
    return zr::shortest(value.get<float>());  // 1 rather than 1.0
  }
  return value.is_string() ? printable(value.get<std::string>())
                           : value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string objectText(const Json& sopClass) {
  if (sopClass.is_null()) {
    return "-";
  }
  return sopClass["title"].is_null()
             ? plain(sopClass["uid"])
             : plain(sopClass["title"]) + " (" + plain(sopClass["uid"]) + ")";
}

std::string uidWithName(const Json& value) {
  if (value.is_null()) {
    return "-";
  }
  return value["name"].is_null() ? plain(value["uid"])
                                 : plain(value["name"]) + " (" + plain(value["uid"]) + ")";
}

void line(const std::string& label, const std::string& text) {
  constexpr std::size_t kLabelWidth = 20;
  const std::size_t blanks = label.size() < kLabelWidth ? kLabelWidth - label.size() : 1;
  say("  " + label + std::string(blanks, ' ') + text);
}

constexpr const char* kUnknown = "unknown";

// A piece of text with a word before it; empty where nothing is known.
std::string worded(const char* word, const Json& value) {
  return value.is_null() ? "" : word + plain(value);
}

std::string joined(const std::vector<std::string>& parts, const char* separator = ", ") {
  std::string text;
  for (const std::string& part : parts) {
    text += (text.empty() || part.empty() ? "" : separator) + part;
  }
  return text;
}

void lineUnlessEmpty(const std::string& label, const std::string& text) {
  if (!text.empty()) {
    line(label, text);
  }
}

// "2026-01-31" where the file has a date as the standard writes them.
std::string dateText(const Json& value) {
  constexpr std::size_t kDigits = 8;
  const std::string text = value.is_null() ? "" : plain(value);
  const bool isDate = text.size() == kDigits && std::all_of(text.begin(), text.end(), [](char c) {
                        return c >= '0' && c <= '9';
                      });
  return isDate ? text.substr(0, 4) + "-" + text.substr(4, 2) + "-" + text.substr(6) : text;
}

std::string quoted(const Json& value) {
  return value.is_null() ? "" : "\"" + plain(value) + "\"";
}

// Whom, when, by what: a line each where something is said.
void sayOrigin(const Json& report) {
  const Json& patient = report["patient"];
  const std::string born = dateText(patient["birthDate"]);
  lineUnlessEmpty("patient",
                  joined({worded("", patient["name"]), worded("ID ", patient["id"]),
                          born.empty() ? "" : "born " + born, worded("", patient["sex"])}));
  const Json& study = report["study"];
  lineUnlessEmpty("study", joined({dateText(study["date"]), quoted(study["description"]),
                                   worded("accession ", study["accessionNumber"])}));
  const Json& series = report["series"];
  lineUnlessEmpty("series",
                  joined({worded("", series["number"]), quoted(series["description"]),
                          worded("", series["bodyPart"]), worded("side ", series["laterality"])}));
  lineUnlessEmpty("instance", worded("", report["instance"]["number"]));
  const Json& device = report["device"];
  std::vector<std::string> versions;
  for (const Json& version : device["softwareVersions"]) {
    versions.push_back(plain(version));
  }
  const std::string software = joined(versions);
  lineUnlessEmpty(
      "device",
      joined({joined({worded("", device["manufacturer"]), worded("", device["model"])}, " "),
              worded("serial number ", device["serialNumber"]),
              worded("station ", device["station"]),
              software.empty() ? "" : "software " + software}));
}

/// A component of the values, with the word that goes before it.
struct Component {
  std::size_t index;
  const char* word;
};

// "0.5", or "0.5 to 3" over the frames in which it is known.
std::string rangeText(const Json& values, std::size_t index) {
  double low = std::numeric_limits<double>::infinity();
  double high = -low;
  for (const Json& value : values) {
    if (!value.is_null()) {
      low = std::min(low, value[index].get<double>());
      high = std::max(high, value[index].get<double>());
    }
  }
  return low < high ? zr::shortest(low) + " to " + zr::shortest(high) : zr::shortest(low);
}

// A value of one or several numbers: what all frames agree in, else its range over the frames.
std::string valueText(const Json& image, const char* name,
                      const std::vector<Component>& components) {
  const Json& perFrame = image["perFrame"];
  const bool differs = !perFrame.is_null() && perFrame.contains(name);
  if (!differs && image[name].is_null()) {
    return kUnknown;
  }
  const Json values = differs ? perFrame[name] : Json::array({image[name]});
  std::string text = differs ? "differs: " : "";
  for (const auto& [index, word] : components) {
    text += (index == components.front().index ? "" : ", ") + std::string(word) +
            rangeText(values, index);
  }
  const auto unknown = std::count_if(values.begin(), values.end(),
                                     [](const Json& value) { return value.is_null(); });
  return unknown == 0 ? text
                      : text + "; unknown in " + std::to_string(unknown) + " of " +
                            std::to_string(values.size()) + " frames";
}

std::string pixelText(const Json& format) {
  const std::string sign =
      format["signed"].is_null() ? "" : (format["signed"].get<bool>() ? ", signed" : ", unsigned");
  return plain(format["photometricInterpretation"]) + ", " + plain(format["bitsStored"]) +
         " bits in " + plain(format["bitsAllocated"]) + ", high bit " + plain(format["highBit"]) +
         sign;
}

std::string kindText(const Json& report) {
  std::string text;
  for (const auto& [key, word] :
       {std::pair{"multiFrame", "multi-frame"}, std::pair{"multiFrameVolume", "volume"},
        std::pair{"enhanced", "enhanced"}}) {
    if (report[key].is_boolean() && report[key].get<bool>()) {
      text += (text.empty() ? "" : ", ") + std::string(word);
    }
  }
  return text.empty() ? "single image" : text;
}

std::string tableText(const Json& table) {
  if (table.is_null()) {
    return "none";
  }
  return plain(table["entries"]) + " entries of " + plain(table["values"]) + " x " +
         plain(table["bits"]) + " bits, first maps " + plain(table["firstMapped"]);
}

std::string groupName(unsigned group) {
  char text[8];
  (void)std::snprintf(text, sizeof text, "%04X", group & 0xFFFFU);  // always fits
  return text;
}

// The first window, and those that all frames have beside it.
void describeWindows(const Json& image) {
  line("window", valueText(image, "voiWindow", {{0, "centre "}, {1, "width "}}));
  const Json& windows = image["windows"];
  for (std::size_t i = 0; !windows.is_null() && i < windows.size(); ++i) {
    const Json& window = windows[i];
    const bool named = !window["explanation"].is_null();
    if (i > 0 || named) {
      line("window " + std::to_string(i),
           "centre " + zr::shortest(window["centre"].get<double>()) + ", width " +
               zr::shortest(window["width"].get<double>()) +
               (named ? " (" + plain(window["explanation"]) + ")" : ""));
    }
  }
}

void sayImage(const Json& image) {
  line("size", plain(image["columns"]) + " x " + plain(image["rows"]) + " x " +
                   plain(image["frames"]) + " (columns, rows, frames)");
  line("decoded", plain(image["samplesPerPixel"]) + " x " +
                      std::to_string(8 * image["bytesPerSample"].get<unsigned>()) +
                      " bits a pixel" + (image["lossy"].get<bool>() ? ", lossy" : ""));
  const Json& unit = image["rescaleUnit"];
  line("rescale", valueText(image, "rescale", {{0, "slope "}, {1, "intercept "}}) +
                      (unit.is_null() ? "" : " (" + plain(unit) + ")") + ", samples shifted by " +
                      plain(image["sampleOffset"]));
  describeWindows(image);
  line("pixel spacing", valueText(image, "pixelSpacing", {{0, "column "}, {1, "row "}}));
  line("frame spacing", image["frameSpacing"].is_null()
                            ? kUnknown
                            : zr::shortest(image["frameSpacing"].get<double>()));
  const std::vector<Component> threeNumbers = {{0, ""}, {1, ""}, {2, ""}};
  line("position", valueText(image, "position", threeNumbers) +
                       (image["space"] == "volume" ? " in the ultrasound volume" : ""));
  line("orientation",
       valueText(image, "orientation",
                 {{0, "rows "}, {1, ""}, {2, ""}, {3, "columns "}, {4, ""}, {5, ""}}));
}

void describeOverlays(const Json& overlays) {
  if (overlays.empty()) {
    line("overlays", "none embedded");
  }
  for (const Json& overlay : overlays) {
    line("overlay " + groupName(overlay["group"].get<unsigned>()),
         "frame " + plain(overlay["frame"]) + ", " + plain(overlay["size"][0]) + " x " +
             plain(overlay["size"][1]) + " at (" + plain(overlay["origin"][0]) + ", " +
             plain(overlay["origin"][1]) + ")");
  }
}

// "0.2 x 0.3 mm": between columns, between rows.
std::string lengthsText(const Json& betweenColumns, const Json& betweenRows) {
  return zr::shortest(betweenColumns.get<double>()) + " x " +
         zr::shortest(betweenRows.get<double>()) + " mm";
}

void sayGeometry(const Json& geometry) {
  for (const Json& spacing : geometry["spacings"]) {
    line("spacing", plain(spacing["name"]) + " " +
                        lengthsText(spacing["betweenColumns"], spacing["betweenRows"]) + ", " +
                        plain(spacing["meaning"]));
  }
  lineUnlessEmpty("calibration", joined({worded("", geometry["calibration"]),
                                         worded("", geometry["calibrationDescription"])}));
  if (const Json& ratio = geometry["pixelAspectRatio"]; !ratio.is_null()) {
    line("pixel aspect", "height " + zr::shortest(ratio[0].get<double>()) + " to width " +
                             zr::shortest(ratio[1].get<double>()));
  }
  if (const Json& magnification = geometry["magnification"]; !magnification.is_null()) {
    line("magnification", zr::shortest(magnification.get<double>()) + ", estimated");
  }
  lineUnlessEmpty("directions",
                  joined({worded("", geometry["directions"]),
                          worded("patient orientation ", geometry["patientOrientation"]),
                          worded("patient position ", geometry["patientPosition"])}));
}

std::string axisText(const Json& region, std::size_t axis, const char* name) {
  const Json& unit = region["units"][axis];
  const Json& delta = region["delta"][axis];
  if (unit.is_null() || delta.is_null()) {
    return "";
  }
  return std::string(name) + " " + zr::shortest(delta.get<double>()) + " " + plain(unit) +
         " a pixel";
}

void sayRegions(const Json& regions) {
  for (std::size_t i = 0; i < regions.size(); ++i) {
    const Json& region = regions[i];
    const Json& bounds = region["bounds"];
    const std::string place = bounds.is_null()
                                  ? ""
                                  : "columns " + plain(bounds[0]) + " to " + plain(bounds[2]) +
                                        ", rows " + plain(bounds[1]) + " to " + plain(bounds[3]);
    line("region " + std::to_string(i),
         joined({worded("", region["spatialFormat"]), worded("", region["dataType"]), place,
                 axisText(region, 0, "x"), axisText(region, 1, "y")}));
  }
}

void sayDimensions(const Json& frames) {
  std::vector<std::string> parts;
  for (const Json& dimension : frames["dimensions"]) {
    const Json& values = dimension["values"];
    const Json& name = dimension["name"];
    parts.push_back(plain(name.is_null() ? dimension["tag"] : name) +
                    (values.is_null() ? "" : " (" + plain(values) + ")"));
  }
  lineUnlessEmpty("dimensions", joined({worded("", frames["organization"]), joined(parts)}));
  if (const Json& matrix = frames["totalPixelMatrix"]; !matrix.is_null()) {
    line("tiles of", plain(matrix[0]) + " x " + plain(matrix[1]) + " (columns, rows)");
  }
}

void sayOtherTables(const Json& luts) {
  for (const Json& table : luts["voi"]) {
    line("VOI LUT", tableText(table) + worded(", ", table["explanation"]));
  }
  if (!luts["segmentedPalette"].is_null()) {
    line("segmented palette", tableText(luts["segmentedPalette"]));
  }
}

void sayPlanes(const Json& planes) {
  for (const Json& plane : planes) {
    if (plane["embedded"].get<bool>()) {
      continue;  // listed as they were found in the samples
    }
    const Json& columns = plane["columns"];
    const Json& rows = plane["rows"];
    const Json& origin = plane["origin"];
    line("overlay " + groupName(plane["group"].get<unsigned>()),
         joined({"own data",
                 columns.is_null() || rows.is_null() ? "" : plain(columns) + " x " + plain(rows),
                 origin.is_null() ? "" : "at (" + plain(origin[0]) + ", " + plain(origin[1]) + ")",
                 worded("frames ", plane["frames"]), worded("", plane["label"]),
                 worded("", plane["description"])}));
  }
}

void sayCreators(const Json& creators) {
  std::vector<std::string> parts;
  for (const Json& creator : creators) {
    parts.push_back(plain(creator["name"]) + (creator["known"].get<bool>() ? "" : " (unknown)"));
  }
  lineUnlessEmpty("private elements", joined(parts));
}

std::string countOf(std::size_t count, const char* thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string slicesText(const Json& volumes) {
  std::size_t fewest = volumes.empty() ? 0 : volumes[0].size();
  std::size_t most = fewest;
  for (const Json& volume : volumes) {
    fewest = std::min(fewest, volume.size());
    most = std::max(most, volume.size());
  }
  const std::string range = fewest == most ? "" : std::to_string(fewest) + " to ";
  return countOf(volumes.size(), "volume") + " of " + range + countOf(most, "slice");
}

void describeSplitting(const Json& splitting) {
  if (!splitting["pointer"].is_null()) {
    const Json& kind = splitting["pointerKind"];
    line("frames by", kind.is_null() ? plain(splitting["pointer"])
                                     : plain(kind) + " " + plain(splitting["pointer"]));
  }
  if (!splitting["splittable"].get<bool>()) {
    line("splits", "no: " + plain(splitting["reason"]));
    return;
  }
  const std::string gates = splitting["rrIntervals"].is_null()
                                ? ""
                                : " (" + countOf(splitting["timeSlots"], "time slot") + " x " +
                                      countOf(splitting["rrIntervals"], "R-R interval") + ")";
  line("splits", "into " + slicesText(splitting["volumes"]) + gates +
                     (splitting["reversed"].get<bool>() ? ", reversed" : ""));
}

void sayContent(const Json& report) {
  line("content", plain(report["content"]) + ", without pixels");
  lineUnlessEmpty("title", worded("", report["contentTitle"]));
  lineUnlessEmpty("type", worded("", report["contentType"]));
  std::vector<std::string> parts;
  for (const Json& part : report["contentParts"]) {
    parts.push_back(plain(part["what"]) + " " + plain(part["count"]));
  }
  lineUnlessEmpty("holds", joined(parts));
  sayCreators(report["privateCreators"]);
}

// What stands in the file, whether or not it decodes.
void sayObject(const Json& report) {
  line("object", objectText(report["sopClass"]));
  sayOrigin(report);
  line("modality", plain(report["modality"]));
  line("kind", kindText(report));
  const Json& syntax = report["transferSyntax"];
  line("transfer syntax",
       uidWithName(syntax) + (syntax["decodes"].get<bool>() ? "" : ", not decoded here"));
}

void sayTablesAndOverlays(const Json& report, bool decoded) {
  line("modality LUT", tableText(report["luts"]["modality"]));
  line("palette", tableText(report["luts"]["palette"]));
  sayOtherTables(report["luts"]);
  if (decoded) {
    describeOverlays(report["overlays"]);
  }
  sayPlanes(report["overlayPlanes"]);
}

}  // namespace

void sayReport(const Json& report) {
  const bool decoded = report["ok"].get<bool>();
  say(plain(report["file"]));
  if (report["transferSyntax"].is_null()) {
    line("not decoded", plain(report["error"]));
    return;
  }
  sayObject(report);
  if (!report["content"].is_null()) {
    sayContent(report);
    return;
  }
  line("pixels", pixelText(report["pixelFormat"]));
  if (decoded) {
    sayImage(report["image"]);
  } else {
    line("not decoded", plain(report["error"]));
  }
  sayGeometry(report["geometry"]);
  sayRegions(report["ultrasoundRegions"]);
  sayTablesAndOverlays(report, decoded);
  sayDimensions(report["frames"]);
  if (decoded) {
    describeSplitting(report["splitting"]);
  }
  sayCreators(report["privateCreators"]);
}

}  // namespace zrdcm
