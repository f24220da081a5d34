// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtResult.h>
#include <zrvolren/ZrvolrenApi.h>

namespace Zr {

/// Reports a bad result in one warning of the application log: code, source position, message and
/// failed condition. A good result is passed over in silence.
/// @return true when the result is bad
ZRVOLREN_API bool fail(const KtResult& result);

}  // namespace Zr
