/// What the providers of the platform's calls share: all of it that neither simulates a drive nor
/// touches one. The simulated appliance and the plain host build their libraries from it.
#pragma once

#include <cstdint>
#include <exception>
#include <initializer_list>
#include <optional>
#include <string>
#include <type_traits>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace provider {

/// What becomes of a call before its work is done.
struct Interference {
    std::optional<int64_t> result{};  ///< the call's result; its work is not done then
    bool kills_afterwards = false;
};

// A provider has one of each of these.

/// @throws when it cannot be told
Interference before_call(const std::string& name);
void after_call(const std::string& name, const std::string& arguments, const std::string& result,
                const Interference& interference);
/// The work, or one of the above, has thrown.
void tell_failure(const char* name, const std::string& arguments,
                  const std::exception& error) noexcept;

/// The text of a call's arguments, separated by ", ", null pointers as "null". It refers to them,
/// and is made when it is asked for: by call, which keeps from its caller what that may throw.
template <typename... Values>
auto arguments(const Values&... values) {
    return [&values...] {
        [[maybe_unused]] const auto readable = [](const auto& value) {
            using Value = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Value, const char*> || std::is_same_v<Value, char*>)
                return std::string(value == nullptr ? "null" : value);
            else
                return fmt::format("{}", value);
        };
        return fmt::format(
            "{}", fmt::join(std::initializer_list<std::string>{readable(values)...}, ", "));
    };
}

/// One platform call. It throws nothing at its caller: what the work throws becomes -1, and so does
/// what the text of its arguments throws.
template <typename Text, typename Work>
auto call(const char* name, const Text& arguments_text, Work&& work) noexcept
    -> std::invoke_result_t<Work> {
    using Result = std::invoke_result_t<Work>;
    std::string told;
    try {
        told = arguments_text();
        const Interference interference = before_call(name);
        const Result result =
            interference.result ? static_cast<Result>(*interference.result) : work();
        after_call(name, told, fmt::format("{}", result), interference);
        return result;
    } catch (const std::exception& error) {
        tell_failure(name, told, error);
        return static_cast<Result>(-1);
    }
}

}  // namespace provider
