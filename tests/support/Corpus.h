// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace support {

/// Folder of real files: what the environment variable ZRDCMEXPORT_CORPUS names, else
/// `../shared/corpus` beside the source folder. Nothing where there is no such folder; tests then
/// skip themselves and say so. It holds `files/`, `manifest.tsv` and `expected.tsv`.
[[nodiscard]] std::optional<std::filesystem::path> corpusFolder();

/// Folder of small files made to mislead decoders: what ZRDCMEXPORT_HAZARDS names, else
/// `../shared/hazards/audit` beside the source folder. Nothing where there is no such folder.
[[nodiscard]] std::optional<std::filesystem::path> hazardsFolder();

/// A table of tab-separated values whose first line names the columns.
class TsvTable {
public:
  /// One line, read by the names of the columns.
  class Row {
  public:
    Row(const TsvTable& table, std::vector<std::string> cells);
    /// Text of a cell. A column that the table does not have throws std::out_of_range.
    const std::string& operator[](const std::string& column) const;

  private:
    const TsvTable* table_;
    std::vector<std::string> cells_;
  };

  /// Reads a file; one that cannot be read or has a line with too many cells throws
  /// std::runtime_error. Cells missing at the end of a line are empty.
  explicit TsvTable(const std::filesystem::path& file);
  TsvTable(const TsvTable&) = delete;
  TsvTable& operator=(const TsvTable&) = delete;

  const std::vector<Row>& rows() const { return rows_; }
  /// The first row with this text in a column; null when there is none.
  const Row* find(const std::string& column, const std::string& text) const;

private:
  std::map<std::string, std::size_t> columns_;
  std::vector<Row> rows_;
};

}  // namespace support
