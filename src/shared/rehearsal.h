#pragma once

#include <string_view>

namespace ssd_op::shared {

/// A rehearsal goes through all of an evaluation with short rounds, so that it tells little of the
/// drives. Its title begins with this, and so each report of it says what it is.
inline constexpr std::string_view kRehearsalMark = "Quick rehearsal: ";
inline constexpr int kRehearsalMib = 1024;  ///< of the area under test, unless another is wanted
inline constexpr int kRehearsalRoundSeconds = 5;
inline constexpr int kRoundSeconds = 60;
/// In the environment of a rehearsal's driver, and so of measurements of drives. Its script goes by
/// the title.
inline constexpr const char* kRehearsalVariable = "SSD_OP_REHEARSAL";

inline bool is_rehearsal(std::string_view title) { return title.starts_with(kRehearsalMark); }

inline int round_seconds_of(std::string_view title) {
    return is_rehearsal(title) ? kRehearsalRoundSeconds : kRoundSeconds;
}

}  // namespace ssd_op::shared
