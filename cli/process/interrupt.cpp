#include "process/interrupt.h"

namespace cli {

namespace {

volatile std::sig_atomic_t interrupted;

}  // namespace

Interrupt::Interrupt(std::initializer_list<int> signals) {
    interrupted = 0;
    struct sigaction action {};
    action.sa_handler = [](int) { interrupted = 1; };  // without SA_RESTART
    for (const int signal : signals) {
        struct sigaction before {};
        ::sigaction(signal, nullptr, &before);
        if (signal == SIGHUP && before.sa_handler == SIG_IGN) continue;
        before_.emplace_back(signal, before);
        ::sigaction(signal, &action, nullptr);
    }
}

Interrupt::~Interrupt() {
    for (const auto& [signal, before] : before_) ::sigaction(signal, &before, nullptr);
}

bool Interrupt::happened() const { return interrupted != 0; }

}  // namespace cli
