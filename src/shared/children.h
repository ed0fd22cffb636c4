#pragma once

#include <csignal>

namespace ssd_op::shared {

/// While it lives, the status of a child can be collected here: a SIGCHLD that is ignored would let
/// the kernel drop it, a handler of the caller's might take it.
class ChildrenAreOurs {
  public:
    ChildrenAreOurs() {
        sigset_t child_signal;
        sigemptyset(&child_signal);
        sigaddset(&child_signal, SIGCHLD);
        ::sigprocmask(SIG_BLOCK, &child_signal, &callers_mask_);
        struct sigaction reaped {};
        reaped.sa_handler = SIG_DFL;
        ::sigaction(SIGCHLD, &reaped, &callers_action_);
    }
    ChildrenAreOurs(const ChildrenAreOurs&) = delete;
    ChildrenAreOurs& operator=(const ChildrenAreOurs&) = delete;
    ~ChildrenAreOurs() {
        ::sigaction(SIGCHLD, &callers_action_, nullptr);
        ::sigprocmask(SIG_SETMASK, &callers_mask_, nullptr);
    }
    const sigset_t& callers_mask() const { return callers_mask_; }

  private:
    sigset_t callers_mask_{};
    struct sigaction callers_action_ {};
};

}  // namespace ssd_op::shared
