#pragma once

#include <functional>
#include <string>

#include "enrolment/enrolled.h"
#include "refusal/examination.h"

namespace host {

struct Enrolment {
    std::string serial;
    Wish wish;
    /// The serial number that a script gives in the place of a person; empty: ask.
    std::string yes_erase;
};

/// Shows what a person must know, and gives back what that person typed.
using AskForSerial = std::function<std::string(const std::string& summary)>;

/// Gives a drive to this program: examines it, shows it, and wants its serial number. Nothing is
/// written to the drive. Fails, with all reasons, when it is refused.
void enroll(const Roots& roots, const Enrolment& enrolment, const AskForSerial& ask);

/// The reasons as lines of text, each with its next step.
std::string list_of(const std::vector<Reason>& reasons);

}  // namespace host
