#pragma once

#include <charconv>
#include <concepts>
#include <memory>
#include <string_view>

namespace ssd_op::report {

/// Text on its way to a file, in large pieces. A failed write is remembered, and what comes after
/// it is dropped.
class Output {
  public:
    explicit Output(int descriptor) : descriptor_(descriptor), buffer_(new char[kSize]) {}

    Output& operator<<(std::string_view text) {
        if (text.size() > kSize - used_) flush();
        if (text.size() > kSize)
            write(text);
        else
            used_ += text.copy(buffer_.get() + used_, text.size());
        return *this;
    }
    Output& operator<<(char character) { return *this << std::string_view(&character, 1); }
    template <std::integral Number>
    Output& operator<<(Number number) {
        if (kSize - used_ < kLongestNumber) flush();
        char* const at = buffer_.get() + used_;
        used_ += std::to_chars(at, at + kLongestNumber, number).ptr - at;
        return *this;
    }

    /// Writes what is left. Whether everything was written.
    bool finish() {
        flush();
        return intact_;
    }

  private:
    static constexpr size_t kSize = 1 << 16;
    static constexpr size_t kLongestNumber = 24;

    void flush() {
        write({buffer_.get(), used_});
        used_ = 0;
    }
    void write(std::string_view text);

    int descriptor_;
    std::unique_ptr<char[]> buffer_;
    size_t used_ = 0;
    bool intact_ = true;
};

}  // namespace ssd_op::report
