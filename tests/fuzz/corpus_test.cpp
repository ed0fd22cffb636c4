// The inputs that were kept of fuzzing: examples of what is read, what covers something that no
// other input does, and whatever was a fault once.

#include <filesystem>
#include <ostream>

#include <gtest/gtest.h>

#include "support/files.h"

using Read = int(const uint8_t* data, size_t size);

extern "C" {
Read fuzz_database_bytes, fuzz_database_values, fuzz_fio_summary, fuzz_ini_file, fuzz_message,
    fuzz_runtime_report, fuzz_runtime_state, fuzz_script_status, fuzz_shown_record, fuzz_shown_text,
    fuzz_skip_list, fuzz_snapshot, fuzz_temperatures, fuzz_time_left;
}

namespace {

struct Target {
    const char* name;
    Read* read;
};
std::ostream& operator<<(std::ostream& out, const Target& target) { return out << target.name; }

class FuzzCorpus : public ::testing::TestWithParam<Target> {};

TEST_P(FuzzCorpus, IsReadWithoutAFault) {
    int inputs = 0;
    for (const auto& file :
         std::filesystem::directory_iterator(std::filesystem::path(CORPUS) / GetParam().name)) {
        SCOPED_TRACE(file.path());
        const std::string input = support::read_file(file.path());
        EXPECT_NO_THROW(
            GetParam().read(reinterpret_cast<const uint8_t*>(input.data()), input.size()));
        ++inputs;
    }
    EXPECT_GT(inputs, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Every, FuzzCorpus,
    ::testing::Values(
        Target{"database_bytes", fuzz_database_bytes},
        Target{"database_values", fuzz_database_values}, Target{"fio_summary", fuzz_fio_summary},
        Target{"ini_file", fuzz_ini_file}, Target{"message", fuzz_message},
        Target{"runtime_report", fuzz_runtime_report}, Target{"runtime_state", fuzz_runtime_state},
        Target{"script_status", fuzz_script_status}, Target{"shown_record", fuzz_shown_record},
        Target{"shown_text", fuzz_shown_text}, Target{"skip_list", fuzz_skip_list},
        Target{"snapshot", fuzz_snapshot}, Target{"temperatures", fuzz_temperatures},
        Target{"time_left", fuzz_time_left}),
    [](const auto& one) { return std::string(one.param.name); });

}  // namespace
