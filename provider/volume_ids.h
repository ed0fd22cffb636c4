#pragma once

#include <cstdint>

#include "platform/storage.h"

namespace provider {

/// Ids that a kind of volume may have.
struct IdRange {
    int first;
    int last;
    bool contains(int id) const { return id >= first && id <= last; }
};

constexpr IdRange volume_ids(uint64_t type) {
    return type == LV_TYPE_TEST ? IdRange{1568, 1599} : IdRange{1, 1567};
}

}  // namespace provider
