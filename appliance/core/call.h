#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace appliance {

/// What a fault does to a call, or to a started program, of its name.
enum class FaultKind {
    kReturn,    ///< the work is not done, the result is the fault's value
    kSlow,      ///< the work is done after the fault's value in milliseconds
    kHold,      ///< the work is done once the fault is cleared
    kKill,      ///< the process is killed (SIGKILL) before the work
    kKillAfter  ///< the process is killed (SIGKILL) after the work
};

struct Fault {
    FaultKind kind;
    int64_t value;
    int64_t number;
};

/// Counts one more use of `name` and returns the fault that is set for it, if any: `nth` counts
/// uses from 1 since the fault was set; 0 means every use.
std::optional<Fault> next_fault(const std::string& name);

/// Sets a fault. Setting one starts the count of its name at 0.
void set_fault(const std::string& name, int nth, FaultKind kind, int64_t value);
void clear_faults();

/// Adds a row to the journal.
void journal(const std::string& name, const std::string& arguments, const std::string& result);

/// Acts on a slow, a holding or a killing fault; returns the value of a returning one.
std::optional<int64_t> suffer(const std::optional<Fault>& fault);
/// Acts on a fault that kills after the work.
void suffer_afterwards(const std::optional<Fault>& fault);

/// The arguments of a call as the journal shows them: separated by ", ", null pointers as "null".
template <typename... Values>
std::string arguments(const Values&... values) {
    [[maybe_unused]] const auto readable = [](const auto& value) {
        using Value = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<Value, const char*> || std::is_same_v<Value, char*>)
            return std::string(value == nullptr ? "null" : value);
        else
            return fmt::format("{}", value);
    };
    return fmt::format("{}",
                       fmt::join(std::initializer_list<std::string>{readable(values)...}, ", "));
}

/// One platform call: the fault of its name, then the work, then a row of the journal. A stand-in
/// throws nothing at its caller: a failure of the simulation itself becomes -1 and a journal row.
template <typename Work>
auto call(const char* name, const std::string& call_arguments, Work&& work) noexcept
    -> std::invoke_result_t<Work> {
    using Result = std::invoke_result_t<Work>;
    try {
        const std::optional<Fault> fault = next_fault(name);
        const std::optional<int64_t> forced = suffer(fault);
        const Result result = forced ? static_cast<Result>(*forced) : work();
        journal(name, call_arguments, fmt::format("{}", result));
        suffer_afterwards(fault);
        return result;
    } catch (const std::exception& error) {
        try {
            journal(name, call_arguments, error.what());
        } catch (const std::exception&) {
            // Nothing is left that could take the message.
        }
        return static_cast<Result>(-1);
    }
}

}  // namespace appliance
