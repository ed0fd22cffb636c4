#pragma once

#include "platform/naslog.h"

namespace ssd_op::db {

/// Says, once for each call of a query, that the database holds more than its result has room for.
/// What does not fit is left out.
class Overflow {
  public:
    explicit Overflow(const char* function) : function_(function) {}

    /// Whether one more entry fits after `count` of them.
    bool fits(int count, int room) {
        if (count < room) return true;
        if (!traced_)
            SM_TRACE(SM_TRACE_ERROR, "%s: more than %d entries, the others are left out.\n",
                     function_, room);
        traced_ = true;
        return false;
    }

  private:
    const char* function_;
    bool traced_ = false;
};

}  // namespace ssd_op::db
