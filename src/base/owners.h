#pragma once

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

#include <unistd.h>

namespace ssd_op::base {

struct FreeBlock {
    void operator()(void* block) const { std::free(block); }
};

/// A heap block that a caller or the platform releases with free().
template <typename T>
using HeapBlock = std::unique_ptr<T, FreeBlock>;

/// A zero-filled block from calloc; null when memory is short.
template <typename T>
HeapBlock<T> make_zeroed() {
    return HeapBlock<T>(static_cast<T*>(std::calloc(1, sizeof(T))));
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

struct ClosePipe {
    void operator()(std::FILE* pipe) const { ::pclose(pipe); }
};
/// What a command prints, as popen gives it.
using Pipe = std::unique_ptr<std::FILE, ClosePipe>;

/// A file descriptor, closed when it goes.
class Descriptor {
  public:
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    int get() const { return fd_; }
    int release() { return std::exchange(fd_, -1); }
    explicit operator bool() const { return fd_ >= 0; }

  private:
    int fd_;
};

}  // namespace ssd_op::base
