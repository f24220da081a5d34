// SPDX-License-Identifier: BSD-3-Clause
// The export writer when memory runs out.
#include "core/faults/FaultTrial.h"
#include "support/Md5.h"
#include "support/TempDir.h"

#include <gx/GxParamBundle.h>
#include <zrdcmexport/ZrDcmExport.h>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

struct Export {
  support::TempDir folder;
  ZrDcmExport writer;
  GxParamBundle bundle{"root"};
  std::vector<unsigned short> samples = std::vector<unsigned short>(12, 4000);
  std::string directory = folder.file("a directory that is made for the files").string();

  Export() {
    bundle.addParameter("G0010-0010", "PN: Doe^Jane with a name that does not fit");
    GxParamBundle& sequence = bundle.addBundle("G0008-1140");
    sequence.addBundle("Item_0").addParameter("G0008-1155", "UI: 1.2.840.10008.5.1.4.1.1.7.1");
  }
  bool prepare() {
    return writer.setOutputBaseDirectory(directory.c_str()) && writer.setFilename("image.dcm") &&
           writer.setDicomTag(0x0008, 0x0016, "1.2.840.10008.5.1.4.1.1.7") &&
           writer.setDicomTag(0x0008, 0x0018, "1.2.840.10008.5.1.4.1.1.7.99") &&
           writer.addParameters(&bundle);
  }
  std::string file() const {
    std::ifstream stream(directory + "/image.dcm", std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream),
                            std::istreambuf_iterator<char>()};
    return bytes.empty() ? "" : support::md5Hex(bytes.data(), bytes.size());
  }
};

struct PreparedExport : Export {
  PreparedExport() { EXPECT_TRUE(prepare()); }
};

/// Has the attribute that stops a file two levels down.
struct RefusedExport : Export {
  std::string refused;
  RefusedExport() {
    bundle.addBundle("G0008-2112").addBundle("Item_0").addParameter("G0028-0010", "US: many");
    EXPECT_TRUE(prepare());
  }
};

class ExportWithoutMemory : public faults::WithoutMemory {};

TEST_F(ExportWithoutMemory, TakesAttributesOrNot) {
  expectKept<Export>(
      faults::throwsOrIsFalse(), [](Export& exported) { return exported.prepare(); },
      [](const Export& exported) {
        auto& writer = const_cast<Export&>(exported);
        EXPECT_TRUE(writer.writer.writeImageAsIs(4, 3, writer.samples.data()));
        return exported.file();
      });
}

TEST_F(ExportWithoutMemory, WritesAFileOrNot) {
  expectKept<PreparedExport>(
      faults::throwsOrIsFalse(),
      [](PreparedExport& exported) {
        return exported.writer.writeImageAsIs(4, 3, exported.samples.data());
      },
      [](const PreparedExport& exported) { return exported.file(); });
}

// Where memory runs out earlier, another attribute is the first that cannot be put, or the meta
// information stops the file.
TEST_F(ExportWithoutMemory, NamesARefusedAttributeOrNoneOrThrows) {
  expectKept<RefusedExport>(
      faults::throwsOrMakes({"nothing"}),
      [](RefusedExport& exported) {
        EXPECT_FALSE(exported.writer.writeImageAsIs(4, 3, exported.samples.data()));
        exported.refused = exported.writer.refusedAttribute();
        return true;
      },
      [](const RefusedExport& exported) {
        return std::string(exported.refused.empty() ? "nothing" : "an attribute");
      });
}

}  // namespace
