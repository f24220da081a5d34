// SPDX-License-Identifier: BSD-3-Clause
#include "support/Corpus.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace support {

namespace {

std::vector<std::string> cellsOf(const std::string& line) {
  std::vector<std::string> cells;
  std::size_t start = 0;
  for (std::size_t tab = line.find('\t'); tab != std::string::npos; tab = line.find('\t', start)) {
    cells.push_back(line.substr(start, tab - start));
    start = tab + 1;
  }
  cells.push_back(line.substr(start));
  return cells;
}

/// What a variable names, else a folder beside the source folder.
std::filesystem::path wantedFolder(const char* variable, const char* besideTheSource) {
  const char* named = std::getenv(variable);
  if (named != nullptr && *named != '\0') {
    return named;
  }
  return std::filesystem::path(ZR_SOURCE_DIR).parent_path() / besideTheSource;
}

}  // namespace

std::optional<std::filesystem::path> corpusFolder() {
  const std::filesystem::path folder = wantedFolder("ZRDCMEXPORT_CORPUS", "shared/corpus");
  if (!std::filesystem::is_directory(folder / "files")) {
    return std::nullopt;
  }
  return folder;
}

std::optional<std::filesystem::path> hazardsFolder() {
  const std::filesystem::path folder = wantedFolder("ZRDCMEXPORT_HAZARDS", "shared/hazards/audit");
  if (!std::filesystem::is_directory(folder)) {
    return std::nullopt;
  }
  return folder;
}

TsvTable::Row::Row(const TsvTable& table, std::vector<std::string> cells)
    : table_(&table), cells_(std::move(cells)) {
  if (cells_.size() > table.columns_.size()) {
    throw std::runtime_error("table: a line has more cells than columns: " + cells_.front());
  }
  cells_.resize(table.columns_.size());
}

const std::string& TsvTable::Row::operator[](const std::string& column) const {
  return cells_[table_->columns_.at(column)];
}

TsvTable::TsvTable(const std::filesystem::path& file) {
  std::ifstream stream(file);
  std::string line;
  if (!std::getline(stream, line)) {
    throw std::runtime_error("table: cannot read " + file.string());
  }
  for (const std::string& name : cellsOf(line)) {
    columns_.emplace(name, columns_.size());
  }
  while (std::getline(stream, line)) {
    rows_.emplace_back(*this, cellsOf(line));
  }
}

const TsvTable::Row* TsvTable::find(const std::string& column, const std::string& text) const {
  for (const Row& row : rows_) {
    if (row[column] == text) {
      return &row;
    }
  }
  return nullptr;
}

}  // namespace support
