// SPDX-License-Identifier: BSD-3-Clause
// Streams of elements, items and delimiters from the fuzzer's bytes: nested, well formed often
// enough to be read far, wrong in every way that a length, a VR or a delimiter can be wrong.
#pragma once

#include "Input.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"

#include <string>
#include <vector>

namespace fuzz {

class ElementStream {
public:
  ElementStream(bool explicitVR, bool bigEndian) : explicitVR_(explicitVR), bigEndian_(bigEndian) {}

  /// Appends until the input ends or `most` bytes are there.
  void fill(Input& input, std::size_t inputSize, std::size_t most);
  [[nodiscard]] const std::string& bytes() const { return bytes_; }

private:
  struct Tag {
    unsigned group;
    unsigned element;
  };
  /// Where a length stands that is written when its content is complete, and how the content is
  /// encoded.
  struct Open {
    std::size_t lengthAt;  // 0: undefined length
    std::size_t contentAt;
    bool explicitVR;
    bool bigEndian;
  };

  void step(Input& input);
  void number(std::size_t value, std::size_t count);
  void tag(Tag tag);
  void header(Tag tag, const char* vr, std::size_t length);
  void value(Input& input);
  void sequence(Input& input, bool defined);
  void unknown(Input& input);
  void item(bool defined);
  void delimiter(unsigned element);
  void fragments(Input& input);
  void privateSequence(Input& input);
  void close();
  void repeat(std::size_t from, std::size_t times);
  void open(bool defined);

  bool explicitVR_;
  bool bigEndian_;
  std::string bytes_;
  std::vector<Open> open_;
  std::size_t lastStep_ = 0;
};

}  // namespace fuzz
