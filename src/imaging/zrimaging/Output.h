// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>
#include <zrimaging/Error.h>
#include <zrimaging/ZrimagingApi.h>

namespace zr {

class OutputFilePrivate;
class ProtectedInputsPrivate;

/// The files that the user has named to be read. No output may take the place of one of them,
/// whether or not it could be read, and whatever name it is reached by: files are told by device
/// and inode.
///
/// Everything that writes a file asks for them, so that nobody can forget to say what is read.
class ZRIMAGING_API ProtectedInputs {
public:
  /// For work that reads no file.
  ProtectedInputs();

  /// Empty names and files that are not there protect nothing.
  /// @throws Error OutOfMemory
  explicit ProtectedInputs(const std::vector<std::string>& files);

  ~ProtectedInputs();
  ProtectedInputs(const ProtectedInputs& other);
  ProtectedInputs& operator=(const ProtectedInputs& other);

  /// @throws Error (CannotWrite) that names both when the target is one of the inputs
  void refuseToReplace(const std::filesystem::path& target) const;

private:
  std::shared_ptr<const ProtectedInputsPrivate> private_;
};

/// Thrown when nobody reads standard output any more, as behind `| head`: the rest of the work
/// would be for nobody. No std::exception, because it is no error: what goes on with the next file
/// after an error must not go on after this. Only writing to the program's own standard output
/// throws it.
struct ZRIMAGING_API ReaderGone {};

/// A file that appears under its name only when it is complete.
///
/// Bytes go to a temporary file of a random name beside the target; `commit` renames it. Without
/// `commit`, and when a signal ends the program (removeLeftoversOnSignals), the temporary file is
/// removed and an older file of that name stays as it was. Of several programs that write one
/// target at once the last to finish wins, whole. A link keeps pointing where it points: its
/// destination is replaced, with the permissions that it had. A target that is no regular file (a
/// device, a pipe, /dev/stdout) is written directly, because it cannot be replaced.
///
/// Files are to be made by one thread of a program at a time.
class ZRIMAGING_API OutputFile {
public:
  /// The inputs are asked now and again in `commit`.
  /// @throws Error CannotWrite when the place cannot be written or is an input; OutOfMemory
  OutputFile(const std::filesystem::path& target, const ProtectedInputs& inputs);
  ~OutputFile();
  OutputFile(OutputFile&& other) noexcept;
  OutputFile& operator=(OutputFile&& other) noexcept;

  /// @throws Error CannotWrite when not every byte was taken; ReaderGone
  void write(const void* bytes, std::size_t count);
  void write(std::string_view text) { write(text.data(), text.size()); }

  /// Closes the file and gives it its name. Nothing may be written afterwards.
  /// @throws Error CannotWrite when the disk is full or the rename fails; nothing is left behind
  ///        then
  void commit();

private:
  std::unique_ptr<OutputFilePrivate> private_;
};

/// Creates the folder and those above it. What was made and is still empty goes away again when a
/// signal ends the program.
/// @throws Error CannotWrite when that cannot be done or something else is there
ZRIMAGING_API void createFolder(const std::filesystem::path& folder);

/// Removes the temporary files and folders that are there at the moment. A signal handler may call
/// it.
ZRIMAGING_API void removeLeftovers() noexcept;

/// From now on SIGINT, SIGTERM and SIGHUP remove temporary files and folders and end the program
/// with exit status 128 + signal. A signal that is ignored (nohup) stays ignored. For programs, not
/// for libraries within them.
ZRIMAGING_API void removeLeftoversOnSignals();

/// Whether standard output is a pipe or socket that has lost its reader.
[[nodiscard]] ZRIMAGING_API bool readerIsGone();

/// Opens what a caller has closed of standard input, output and error in a way that fails all use.
/// A file of ours would get the descriptor otherwise, and the lines meant for the caller with it.
/// For programs, before they open anything.
ZRIMAGING_API void occupyStandardDescriptors();

}  // namespace zr
