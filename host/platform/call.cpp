/// What this provider does around a call: nothing, but that a failure is told to the trace log.

#include "provider/call.h"

#include "core/failure.h"
#include "platform/naslog.h"

provider::Interference provider::before_call(const std::string&) { return {}; }

void provider::after_call(const std::string&, const std::string&, const std::string&,
                          const Interference&) {}

void provider::tell_failure(const char* name, const std::string& arguments,
                            const std::exception& error) noexcept {
    const auto* const failure = dynamic_cast<const host::Failure*>(&error);
    SM_TRACE(SM_TRACE_ERROR, "%s(%s): %s %s\n", name, arguments.c_str(), error.what(),
             failure != nullptr ? failure->next_step().c_str() : "");
}
