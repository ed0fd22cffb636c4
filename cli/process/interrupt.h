#pragma once

#include <csignal>
#include <initializer_list>
#include <utility>
#include <vector>

namespace cli {

/// While it lives, Ctrl-C, or one of the signals that it is given, sets a mark instead of ending
/// the program, and cuts sleeps short. SIGHUP that was ignored before, as nohup does it, stays so;
/// a Ctrl-C that a shell has its background jobs ignore ends a watch all the same.
class Interrupt {
  public:
    explicit Interrupt(std::initializer_list<int> signals = {SIGINT});
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;
    ~Interrupt();
    bool happened() const;

  private:
    std::vector<std::pair<int, struct sigaction>> before_;
};

}  // namespace cli
