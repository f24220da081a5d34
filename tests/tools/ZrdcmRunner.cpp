// SPDX-License-Identifier: BSD-3-Clause
// Runs programs with their output in files, so that no pipe can fill up and block them.
#include "tools/ZrdcmRunner.h"

#include "support/TempDir.h"

#include "dcmtk/config/osconfig.h"
// Lets DCMTK's JPEG encoder take colour, which the tests compress.
#include "dcmtk/dcmimage/diregist.h"

#include <png.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace tools {

namespace {

class FileActions {
public:
  FileActions() { posix_spawn_file_actions_init(&actions_); }
  ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;

  void redirect(int descriptor, const std::filesystem::path& file) {
    posix_spawn_file_actions_addopen(&actions_, descriptor, file.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
  }
  const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
  posix_spawn_file_actions_t actions_{};
};

[[noreturn]] void refusePng(png_structp, png_const_charp message) {
  throw std::runtime_error(std::string("no PNG: ") + message);
}

struct PngReader {
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, refusePng, nullptr);
  png_infop info = png_create_info_struct(png);

  PngReader() = default;
  PngReader(const PngReader&) = delete;
  PngReader& operator=(const PngReader&) = delete;
  ~PngReader() { png_destroy_read_struct(&png, &info, nullptr); }
};

}  // namespace

std::size_t Outcome::errorLines() const {
  return static_cast<std::size_t>(std::count(errors.begin(), errors.end(), '\n'));
}

Outcome runProgram(const std::vector<std::string>& command) {
  const support::TempDir folder;
  FileActions actions;
  actions.redirect(STDOUT_FILENO, folder.file("out"));
  actions.redirect(STDERR_FILENO, folder.file("err"));
  std::vector<char*> arguments;
  for (const std::string& argument : command) {
    arguments.push_back(
        const_cast<char*>(argument.c_str()));  // execv takes them so, and only reads
  }
  arguments.push_back(nullptr);

  pid_t child = 0;
  const int error =
      posix_spawnp(&child, arguments[0], actions.get(), nullptr, arguments.data(), environ);
  if (error != 0) {
    throw std::system_error(error, std::generic_category(), command[0]);
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child) {
    throw std::system_error(errno, std::generic_category(), "waitpid");
  }
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
          readFile(folder.file("out")), readFile(folder.file("err"))};
}

Outcome runZrdcm(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), ZRDCM_PROGRAM);
  return runProgram(arguments);
}

Png readPng(const std::filesystem::path& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                             &std::fclose);
  if (!file) {
    throw std::runtime_error("no file " + path.string());
  }
  PngReader reader;
  png_init_io(reader.png, file.get());
  png_read_png(reader.png, reader.info, PNG_TRANSFORM_SWAP_ENDIAN, nullptr);
  Png image;
  image.columns = png_get_image_width(reader.png, reader.info);
  image.rows = png_get_image_height(reader.png, reader.info);
  image.channels = png_get_channels(reader.png, reader.info);
  image.bits = png_get_bit_depth(reader.png, reader.info);
  const png_bytepp rows = png_get_rows(reader.png, reader.info);
  const std::size_t rowSamples = image.columns * static_cast<std::size_t>(image.channels);
  for (std::size_t y = 0; y < image.rows; ++y) {
    for (std::size_t i = 0; i < rowSamples; ++i) {
      std::uint16_t sample = rows[y][i];
      if (image.bits == 16) {
        std::memcpy(&sample, rows[y] + 2 * i, 2);
      }
      image.samples.push_back(sample);
    }
  }
  return image;
}

}  // namespace tools
