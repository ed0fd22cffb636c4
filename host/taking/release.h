#pragma once

#include <string>

#include "core/roots.h"

namespace host {

/// Takes the enrolment of a drive back, whether the drive is there or not. Fails when there is
/// none, and while the undo list has something of the drive: a cleanup would undo that on what is
/// somebody else's by then.
void release(const Roots& roots, const std::string& serial);

}  // namespace host
