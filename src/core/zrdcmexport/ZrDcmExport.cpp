// SPDX-License-Identifier: BSD-3-Clause
// The face of the export writer: forwards every call to the implementation. An implementation that
// could not be created makes every call a harmless false.
#include "writing/ZrDcmExportPrivate.h"

#include <ktlib/KtPrimType.h>
#include <ktlib/KtString.h>
#include <zrdcmexport/ZrDcmExport.h>

ZrDcmExport::ZrDcmExport() {
  try {
    private_ = std::make_unique<ZrDcmExportPrivate>();
  } catch (...) {
    // Applications build the writer where they cannot catch; the first call fails instead.
    private_ = nullptr;
  }
}

ZrDcmExport::~ZrDcmExport() = default;

bool ZrDcmExport::setDicomTag(unsigned short group, unsigned short element, const char* value) {
  if (!private_ || value == nullptr) {
    return false;
  }
  return private_->setDicomTag(KtString::printf("G%04x-%04x", group, element), value);
}

bool ZrDcmExport::setOutputBaseDirectory(const char* path) {
  return private_ && private_->setOutputBaseDirectory(path);
}

bool ZrDcmExport::setFilename(const char* name) {
  return private_ && private_->setFilename(name);
}

bool ZrDcmExport::writeImageAsIs(int dim1, int dim2, unsigned short* pixels) {
  return private_ && private_->writeImageAsIs(dim1, dim2, pixels, KtPrimType::U16, 1);
}

std::string ZrDcmExport::lastError() const {
  return private_ ? private_->lastError() : std::string();
}

std::string ZrDcmExport::refusedAttribute() const {
  return private_ ? private_->refusedAttribute() : std::string();
}

std::string ZrDcmExport::reasonNotWritable(unsigned short group, unsigned short element,
                                           const std::string& value, bool samplesAreSigned) {
  return ZrDcmExportPrivate::reasonNotWritable(group, element, value, samplesAreSigned);
}

bool ZrDcmExport::addParameters(const GxParamBundle* bundle) {
  return private_ && private_->addParameters(bundle);
}
