#pragma once

#include "core/roots.h"

namespace host {

/// Says what is left of evaluations that are gone, and has it undone when whoever sits at the
/// terminal wants that. Comes back when nothing is left that is in the way of the next one; becomes
/// the cleanup when it is wanted.
/// @throws Failure when something is in the way
void offer_cleanup(const Roots& roots);

}  // namespace host
