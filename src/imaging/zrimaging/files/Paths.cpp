// SPDX-License-Identifier: BSD-3-Clause
// Files that a user names: a folder is listed and put in order before the first of its files is
// handed out; folders below it are listed when their turn comes.
#include "zrimaging/Paths.h"

#include "zrimaging/Boundary.h"
#include "zrimaging/output/FileIdentity.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <set>
#include <system_error>

namespace zr {

namespace {

namespace fs = std::filesystem;

/// The walk through one folder that was named.
class FolderWalk {
public:
  explicit FolderWalk(const PathVisitor& visit) : visit_(visit) {}

  void walk(const fs::path& top) {
    std::vector<fs::path> waiting = {top};  // the next one last
    while (!waiting.empty()) {
      const fs::path path = waiting.back();
      waiting.pop_back();
      std::error_code error;
      const fs::file_status status = fs::status(path, error);
      if (fs::is_directory(status)) {
        std::vector<fs::path> entries = entriesOf(path);
        std::move(entries.rbegin(), entries.rend(), std::back_inserter(waiting));
      } else if (fs::is_regular_file(status) || !fs::exists(status)) {
        visit_({path, true, ""});  // one that leads nowhere shows when it is read
      }
    }
  }

private:
  /// In order; none of a folder that was walked before, which links may lead to without end.
  std::vector<fs::path> entriesOf(const fs::path& folder) {
    const std::optional<FileIdentity> identity = identityOf(folder);
    if (identity && !walked_.insert(*identity).second) {
      return {};
    }
    std::vector<fs::path> entries;
    std::error_code error;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
      entries.push_back(at->path());
    }
    if (error) {
      visit_({folder, true, "cannot be listed: " + error.message()});
    }
    std::sort(entries.begin(), entries.end(),
              [](const fs::path& a, const fs::path& b) { return a.native() < b.native(); });
    return entries;
  }

  const PathVisitor& visit_;
  std::set<FileIdentity> walked_;
};

void visitNamed(const std::string& name, const PathVisitor& visit) {
  std::error_code error;
  if (fs::is_directory(name, error)) {
    FolderWalk(visit).walk(name);
  } else {
    visit({name, false, ""});
  }
}

void visitLines(std::istream& list, const PathVisitor& visit) {
  for (std::string line; std::getline(list, line);) {
    if (!line.empty() && line.back() == '\r') {
      line.pop_back();
    }
    if (!line.empty()) {
      visitNamed(line, visit);
    }
  }
}

void visitList(const std::string& name, const PathVisitor& visit) {
  std::error_code error;
  if (fs::is_directory(name, error)) {
    visit({name, false, "is a folder, not a list of files"});
    return;
  }
  std::ifstream list(name);
  if (!list) {
    visit({name, false, std::string("cannot be opened: ") + std::strerror(errno)});
    return;
  }
  visitLines(list, visit);
}

}  // namespace

void visitPaths(const std::vector<std::string>& paths, std::istream& input,
                const PathVisitor& visit) {
  atBoundary([&] {
    for (const std::string& path : paths) {
      if (path == "-") {
        visitLines(input, visit);
      } else if (path.size() > 1 && path.front() == '@') {
        visitList(path.substr(1), visit);
      } else {
        visitNamed(path, visit);
      }
    }
  });
}

std::vector<PathEntry> expandPaths(const std::vector<std::string>& paths) {
  return atBoundary([&] {
    std::vector<PathEntry> entries;
    visitPaths(paths, std::cin, [&](const PathEntry& entry) { entries.push_back(entry); });
    return entries;
  });
}

}  // namespace zr
