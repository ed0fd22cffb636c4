/// Process room: children, signals, and files that several processes write; it uses the output room
/// to show what it waits for.
#pragma once

#include <functional>
#include <optional>
#include <type_traits>

#include <limits.h>
#include <sys/types.h>

namespace cli {

/// Returns when the child has ended.
void wait_for_end(pid_t child);

/// The part of ask_child() below that does not depend on the answer's type.
bool ask_child(void* answer, size_t size, const std::function<void()>& work,
               const std::function<void(pid_t)>& wait);

/// Does `work` in a child process.
/// @param wait  what this process does until the child has ended
/// @return nothing when there was no child, or it ended without an answer
template <typename Answer>
std::optional<Answer> ask_child(const std::function<Answer()>& work,
                                const std::function<void(pid_t)>& wait = wait_for_end) {
    static_assert(std::is_trivially_copyable_v<Answer> && sizeof(Answer) <= PIPE_BUF);
    Answer answer{};
    const auto fill = [&] { answer = work(); };
    if (!ask_child(&answer, sizeof answer, fill, wait)) return std::nullopt;
    return answer;
}

}  // namespace cli
