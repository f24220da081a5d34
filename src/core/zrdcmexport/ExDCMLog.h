// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrdcmexport/ZrdcmexportApi.h>

namespace ExDCM {

/// Sends what DCMTK logs to the application's log (getTheLogInstance()) instead of to the outputs
/// that DCMTK's log has: one sink then sees the messages of both.
///
/// Nothing calls this by itself: the log of DCMTK is one for the whole process, and what becomes of
/// it is the application's choice. Warnings and worse arrive as warnings, everything else as
/// messages, each as "name of the logger: text". How much is logged stays as OFLog::configure() has
/// set it; configuring that log again brings its own outputs back and ends the forwarding.
///
/// The application's sink runs while DCMTK holds locks of its own. It must not call DCMTK, and what
/// it throws is dropped.
///
/// May be called from any thread and more than once; must not be called while static objects are
/// being initialised or destroyed.
/// @throws std::bad_alloc when memory runs out; DCMTK's log then is as it was
ZRDCMEXPORT_API void forwardDcmtkLog();

/// Gives DCMTK's log the outputs back that forwardDcmtkLog() took away. Without forwarding, or when
/// the log was configured anew in the meantime, nothing happens.
ZRDCMEXPORT_API void restoreDcmtkLog();

}  // namespace ExDCM
