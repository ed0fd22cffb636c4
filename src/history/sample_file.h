#pragma once

#include <array>
#include <cstdio>
#include <string_view>

#include "base/owners.h"
#include "base/plain_file.h"

namespace ssd_op::history {

/// A file of samples, one a line, its fields separated by runs of blanks and commas.
///
/// Lines are read in pieces of at most 127 bytes, and each piece counts as a line. What follows a
/// NUL byte in a piece is not read. The last line needs no line end. What is no regular file is not
/// opened: the database is locked while a file is read.
class SampleFile {
  public:
    explicit SampleFile(const char* path) : file_(base::read_plain_file(path)) {}

    /// The next line; false at the end of the file, or when it cannot be read.
    bool next() {
        return file_ && std::fgets(line_.data(), static_cast<int>(line_.size()), file_.get());
    }
    /// Whether there is nothing wrong with the file.
    bool is_read() const { return file_ && std::ferror(file_.get()) == 0; }

    /// Splits the line; fields that it lacks are empty. They live until the next line is read, and
    /// each is followed by a byte that belongs to no number.
    template <size_t Count>
    std::array<std::string_view, Count> fields() const {
        std::array<std::string_view, Count> fields;
        const char* at = line_.data();
        for (std::string_view& field : fields) {
            while (is_separator(*at)) ++at;
            const char* start = at;
            while (*at != '\0' && !is_separator(*at)) ++at;
            field = {start, static_cast<size_t>(at - start)};
        }
        return fields;
    }

  private:
    static constexpr bool is_separator(char c) {
        return c == ' ' || c == ',' || (c >= '\t' && c <= '\r');
    }

    base::File file_;
    std::array<char, 128> line_{};
};

}  // namespace ssd_op::history
