/// Machine room: what this host is, for the records of what was measured on it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/roots.h"

namespace host {

// None, or an empty text, where the machine does not tell.

std::string model_of_machine(const Roots& roots);
std::string serial_of_machine(const Roots& roots);
/// For example "Some Processor, 8 cores, 2.6 GHz".
std::string processor_of_machine(const Roots& roots);
/// Name and version of the distribution, for example "debian 12".
std::string distribution(const std::string& os_release = "/usr/lib/os-release");

struct Memory {
    uint64_t total_kib;
    uint64_t free_kib;  ///< what programs can have
};
std::optional<Memory> memory_of_machine(const Roots& roots);

}  // namespace host
