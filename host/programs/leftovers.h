#pragma once

#include "core/roots.h"

namespace host {

/// Says what is left of evaluations that are gone, and has it undone when whoever sits at the
/// terminal wants that. Comes back when nothing is left; becomes the cleanup when it is wanted.
/// @throws Failure when something stays
void offer_cleanup(const Roots& roots);

}  // namespace host
