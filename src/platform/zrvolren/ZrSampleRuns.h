// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrvolren/ZrDataAccess.h>

#include <cstddef>

/// Calls `visit(bytes, count)` for consecutive runs of bytes that together are all samples in
/// order, without the gaps that strides leave. Internal to the library, not installed.
///
/// Goes row by row, so that gaps between rows and frames cost nothing; only pixels that are not
/// side by side are visited one at a time. Nothing is visited when there is no data.
template <class Visitor>
void visitSampleRuns(const ZrDataAccess& samples, const Visitor& visit) {
  if (!samples.hasData()) {
    return;
  }
  const KtVec3l& dims = samples.dims();
  const KtVec3l& strides = samples.strides();
  const std::size_t pixelBytes =
      std::size_t{samples.primType().primTypeSize()} * samples.nDataVar();
  const bool rowsAreSolid = strides.x == static_cast<long long>(pixelBytes);
  for (long long z = 0; z < dims.z; ++z) {
    const auto* const frame = static_cast<const unsigned char*>(samples.dataPtr(z));
    for (long long y = 0; y < dims.y; ++y) {
      const unsigned char* const row = frame + y * strides.y;
      if (rowsAreSolid) {
        visit(row, pixelBytes * static_cast<std::size_t>(dims.x));
        continue;
      }
      for (long long x = 0; x < dims.x; ++x) {
        visit(row + x * strides.x, pixelBytes);
      }
    }
  }
}
