#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include <sys/types.h>

namespace host {

/// What comes out of a pipe, read without waiting. What is beyond `limit` is read and dropped, so
/// that nobody meets a full pipe.
class Capture {
  public:
    Capture(int source, size_t limit) : source_(source), limit_(limit) {}

    /// Of the pipe; -1 when it has come to its end.
    int source() const { return source_; }
    void read_some();
    bool overflowed() const { return overflowed_; }
    const std::string& text() const { return text_; }

  private:
    int source_;
    size_t limit_;
    std::string text_;
    bool overflowed_ = false;
};

/// Reads both until the child has ended and they are empty, whoever else holds them open. False
/// when that took longer than `most_time`, or `output` overflowed.
bool capture_until_end(pid_t child, Capture& output, Capture& complaint,
                       std::chrono::milliseconds most_time);

}  // namespace host
