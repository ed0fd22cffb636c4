#pragma once

#include <csignal>

namespace cli {

/// While it lives, Ctrl-C sets a mark instead of ending the program, and cuts sleeps short.
class Interrupt {
  public:
    Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;
    ~Interrupt();
    bool happened() const;

  private:
    struct sigaction before_;
};

}  // namespace cli
