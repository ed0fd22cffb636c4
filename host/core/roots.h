/// Core room: what every other room of the host needs and nothing about drives: where the kernel's
/// files lie, reading them, running tools, keeping small stores.
#pragma once

#include <string>

namespace host {

/// Where the host shows itself, and where this program keeps what it must remember. Other places
/// than these serve a look at a tree that was copied or made up.
struct Roots {
    std::string sys = "/sys";
    std::string proc = "/proc";
    std::string dev = "/dev";
    std::string state = "/var/lib/ssd-op";
    std::string settings = "/etc/ssd-op/host.conf";
};

}  // namespace host
