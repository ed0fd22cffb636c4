#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace cli {

/// Key order as written: what matters most comes first.
using Json = nlohmann::ordered_json;

void print_json(const Json& json);

bool stdout_is_terminal();

/// Asks a question on the terminal. True when the answer is "yes", spelled out.
/// @throws Failure when there is no terminal to ask on
bool confirmed(const std::string& question);

/// A line that is written over by the next one on a terminal. Elsewhere every new line is a line of
/// its own, and repetitions are left out.
class LiveLine {
  public:
    LiveLine();
    LiveLine(const LiveLine&) = delete;
    LiveLine& operator=(const LiveLine&) = delete;
    ~LiveLine();
    bool is_live() const { return live_; }
    void show(const std::string& text);

  private:
    bool live_;
    std::string shown_;
};

}  // namespace cli
