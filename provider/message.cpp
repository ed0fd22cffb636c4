/// The table of message texts, as far as over-provisioning events use it.
///
/// Placeholders stand in ascending order: whoever fills a text looks for them one after the other.
/// {0} and {1} take the names of entries 1 and 2 where the text says so below.

#include "platform/naslog.h"

namespace {

constexpr int64_t kApplication = 255;
constexpr int64_t kCategory = 1;

enum Level { kError = 1, kWarning = 2, kInformation = 4 };

constexpr NASLOG_MESSAGE message(int64_t number, Level level, const char* text) {
    return {kApplication, level, kCategory, number, text};
}

constexpr NASLOG_MESSAGE unused(int64_t number) { return message(number, kInformation, nullptr); }

}  // namespace

const NASLOG_MESSAGE A255_list[A255_LIST_SIZE] = {
    unused(0),
    // Names of the add-on and of its feature, used by the others.
    message(1, kInformation, "Oprella"),
    message(2, kInformation, "SSD over-provisioning test"),
    unused(3),
    unused(4),
    // {0} add-on, {1} feature, {2} title of the test
    message(5, kInformation, "[{0}] Started {1} \"{2}\"."),
    // {0} add-on, {1} RAID group
    message(6, kInformation, "[{0}] Created temporary test storage on RAID group {1}."),
    message(7, kInformation, "[{0}] Completed {1} \"{2}\"."),
    message(8, kInformation, "[{0}] Sending the anonymous summary of {1} \"{2}\", as agreed."),
    message(9, kWarning, "[{0}] Stopped {1} \"{2}\"."),
    unused(10),
    // {3} RAID group
    message(11, kError, "[{0}] Failed {1} \"{2}\" on RAID group {3}."),
    message(12, kError, "[{0}] Failed {1} \"{2}\"."),
    message(13, kInformation, "[{0}] Removed temporary test storage from RAID group {1}."),
    // {2} title of the deleted test
    message(14, kInformation, "[{0}] Deleted the results of {1} \"{2}\"."),
    message(15, kInformation, "[{0}] Deleted the results of all tests."),
    message(16, kError, "[{0}] Could not delete test results."),
    message(17, kError,
            "[{0}] Could not run {1} \"{2}\": a selected drive does not support block discard, or "
            "the test program did not start."),
    // {3} over-provisioning ratio with its percent sign
    message(
        18, kWarning,
        "[{0}] In {1} \"{2}\" the over-provisioning ratio {3} could not be set and was skipped."),
};
