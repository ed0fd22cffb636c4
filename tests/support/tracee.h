/// What a tracer reads of a process that stands at a system call.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>

#include <sys/types.h>
#include <sys/uio.h>

namespace support {

inline std::string path_of_descriptor(pid_t pid, uint64_t fd) {
    std::error_code none;
    return std::filesystem::read_symlink(
        "/proc/" + std::to_string(pid) + "/fd/" + std::to_string(fd), none);
}

inline std::string text_at(pid_t pid, uint64_t address) {
    std::array<char, 256> text{};
    iovec local{text.data(), text.size() - 1};
    iovec remote{reinterpret_cast<void*>(address), text.size() - 1};
    ::process_vm_readv(pid, &local, 1, &remote, 1, 0);
    return text.data();
}

}  // namespace support
