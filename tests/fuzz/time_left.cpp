// The time that the test script's status file says is left: "1d:2h:3m:4s".

#include "runtime/time_left.h"

#include "fuzz/target.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(fuzz::text_of(data, size));
    const auto seconds = ssd_op::runtime::parse_time_left(text.c_str());
    if (!seconds) return 0;
    const std::string plain = std::to_string(*seconds) + "s";
    fuzz::require(ssd_op::runtime::parse_time_left(plain.c_str()) == seconds,
                  "seconds alone mean the same");
    return 0;
}
