#pragma once

namespace appliance::flash {

/// Write amplification of greedy collection under uniform random writes, in the steady state and
/// with blocks of very many pages: a / (a + W(-a exp(-a))), W being the principal branch of
/// Lambert's function.
/// @param ratio  physical pages for each mapped page (a), above 1
double expected_write_amplification(double ratio);

/// The same with blocks of `pages_per_block` pages: a little less, as whole pages have to do.
double expected_write_amplification(double ratio, unsigned pages_per_block);

}  // namespace appliance::flash
