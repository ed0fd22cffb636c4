#pragma once

#include <locale.h>

namespace ssd_op::report {

/// The C locale for this thread, for libraries that print numbers with printf: a decimal comma
/// would spoil a file. The caller's locale comes back when the owner goes.
class PlainLocale {
  public:
    PlainLocale() : plain_(newlocale(LC_ALL_MASK, "C", nullptr)), callers_(uselocale(plain_)) {}
    PlainLocale(const PlainLocale&) = delete;
    PlainLocale& operator=(const PlainLocale&) = delete;
    ~PlainLocale() {
        uselocale(callers_);
        if (plain_ != nullptr) freelocale(plain_);
    }

  private:
    locale_t plain_;
    locale_t callers_;
};

}  // namespace ssd_op::report
