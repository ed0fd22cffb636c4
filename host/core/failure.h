#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace host {

/// Something that cannot be done or told. What it says is one sentence, and the next step another.
class Failure : public std::runtime_error {
  public:
    Failure(const std::string& what, std::string next_step)
        : std::runtime_error(what), next_step_(std::move(next_step)) {}
    const std::string& next_step() const { return next_step_; }

  private:
    std::string next_step_;
};

}  // namespace host
