#pragma once

namespace fuzz {

/// Lets the library read all that a damaged database may still hold, report from it, change it,
/// bring it up and down, and delete it; each call has one of its results.
void use_database();

}  // namespace fuzz
