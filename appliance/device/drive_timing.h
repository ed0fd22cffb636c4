#pragma once

#include "flash/timing.h"

namespace appliance {

/// How fast a drive is: as fast as its size makes it, over the interface that it has; and no two
/// pieces of a model are quite alike.
flash::Timing timing_of(unsigned dev_id);

}  // namespace appliance
