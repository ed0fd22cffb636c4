#pragma once

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "shared/descriptor.h"

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

using shared::Descriptor;

}  // namespace ssd_op::base
