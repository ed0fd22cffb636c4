/// Events room: the events of this host's evaluations, in a file of JSON lines.
#pragma once

#include <string>
#include <vector>

#include "core/store.h"

namespace host {

/// Lines of JSON, the newest last, under a lock of their own. When the file has grown to its limit
/// it becomes the older one, and the one that was older goes: there are never more than two.
class EventFile {
  public:
    static constexpr size_t kLimit = 1 << 20;

    /// @param directory is made, for root alone, where it is not there
    explicit EventFile(std::string directory, size_t limit = kLimit);

    /// @throws Failure when it cannot be written
    void append(const Json& event) const;
    /// The newest first, `most` at the most; a line that a crash has cut is left out.
    std::vector<Json> newest(size_t most) const;

  private:
    std::string directory_;
    size_t limit_;
};

}  // namespace host
