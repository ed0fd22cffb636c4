#pragma once

#include <string>

namespace appliance {

/// A process at work on a block device: while one exists, the device counts as in use. The kernel
/// keeps the mark, so that it goes when its process dies, however it dies.
class InUse {
  public:
    explicit InUse(const std::string& device);
    ~InUse();
    InUse(const InUse&) = delete;
    InUse& operator=(const InUse&) = delete;

  private:
    int descriptor_;
};

bool is_in_use(const std::string& device);

}  // namespace appliance
