#pragma once

#include <stdexcept>
#include <string>

namespace cli {

/// What ssd-op ends with; the help text of the program tells the same.
enum ExitCode {
    kDone = 0,
    kFailed = 1,        // the library or the platform reports a failure, or an evaluation failed
    kWrongUsage = 2,    // the command line is not understood
    kRefused = 3,       // understood, but against a rule: drives in use, a layout, a ratio; or
                        // beyond what was measured
    kNotFound = 4,      // no such record or drive
    kNotConfirmed = 5,  // the user did not agree, or could not be asked
    kStopped = 6,       // the evaluation that was followed has been stopped
    kStillRuns = 7,     // the following ended before the evaluation did
};

/// Ends a command: what is wrong, and what to do about it.
class Failure : public std::runtime_error {
  public:
    Failure(ExitCode code, const std::string& what, std::string advice = {})
        : std::runtime_error(what), code_(code), advice_(std::move(advice)) {}
    ExitCode code() const { return code_; }
    const std::string& advice() const { return advice_; }

  private:
    ExitCode code_;
    std::string advice_;
};

/// What the library or the platform refuses without a word to its caller.
inline Failure reported_in_log(const std::string& what) {
    return {kFailed, what, "The appliance's trace log tells why."};
}

}  // namespace cli
