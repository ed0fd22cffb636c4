/// What the fio of every provider has in common: the options that it takes, and the lines that it
/// prints, which are those of the generation of the tool that the library and the add-on read.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace provider::fio {

/// One job, as the command line describes it. Sizes are bytes; 0 stands for "not given".
struct Job {
    std::string name = "job";
    std::string device;
    std::string engine = "libaio";
    bool random = false;
    bool read = true;
    int direct = 0;  ///< not 0: past the kernel's cache
    uint64_t block = 4096;
    uint64_t offset = 0;
    uint64_t size = 0;    ///< area of the device from offset; 0: to its end
    uint64_t amount = 0;  ///< to transfer altogether; 0: as much as the area
    unsigned depth = 1;
    double runtime = 0;       ///< seconds at the most
    double ramp_time = 0;     ///< seconds before that whose figures do not count
    bool time_based = false;  ///< runtime it is, however often the area is gone over
};

/// The job, or the exit status with which the program ends at once.
struct Parsed {
    std::optional<Job> job;
    int exit_status = 0;
};
Parsed parse(int argc, char** argv);

/// The word for --rw.
const char* mode_of(const Job& job);

}  // namespace provider::fio
