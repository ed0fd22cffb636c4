#include "interrupt.h"

namespace cli {

namespace {

volatile std::sig_atomic_t interrupted;

}  // namespace

Interrupt::Interrupt() {
    interrupted = 0;
    struct sigaction action {};
    action.sa_handler = [](int) { interrupted = 1; };  // without SA_RESTART
    ::sigaction(SIGINT, &action, &before_);
}

Interrupt::~Interrupt() { ::sigaction(SIGINT, &before_, nullptr); }

bool Interrupt::happened() const { return interrupted != 0; }

}  // namespace cli
