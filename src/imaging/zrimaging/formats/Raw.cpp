// SPDX-License-Identifier: BSD-3-Clause
// The samples alone: nothing in the file says what they are.
#include "zrimaging/Output.h"
#include "zrimaging/formats/FrameBytes.h"
#include "zrimaging/formats/Writers.h"

namespace zr {

void writeRaw(const std::filesystem::path& target, const ProtectedInputs& inputs,
              const ArrayToWrite& array) {
  OutputFile file(target, inputs);
  writeFrames(sinkInto(file), array);
  file.commit();
}

}  // namespace zr
