#include "core/read.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/text.h"
#include "shared/descriptor.h"

namespace host {

std::optional<std::string> read_file(const std::string& path, size_t limit) {
    // A pipe would hold the reader, and a link would lead it anywhere.
    const ssd_op::shared::Descriptor file(
        ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
    struct stat found {};
    if (!file || ::fstat(file.get(), &found) != 0 || !S_ISREG(found.st_mode)) return std::nullopt;
    std::string text(limit + 1, '\0');
    size_t length = 0;
    while (length < text.size()) {
        const ssize_t got = ::read(file.get(), text.data() + length, text.size() - length);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return std::nullopt;
        if (got == 0) break;
        length += static_cast<size_t>(got);
    }
    if (length > limit) return std::nullopt;
    text.resize(length);
    return text;
}

std::optional<std::string> read_attribute(const std::string& path) {
    const auto text = read_file(path, kAttributeLimit);
    if (!text) return std::nullopt;
    const std::string_view value = trimmed(*text);
    return value.empty() ? std::nullopt : std::optional<std::string>(value);
}

std::optional<uint64_t> read_number(const std::string& path) {
    const auto text = read_attribute(path);
    if (!text) return std::nullopt;
    uint64_t value = 0;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), value);
    if (error != std::errc() || end != text->data() + text->size()) return std::nullopt;
    return value;
}

std::optional<std::vector<std::string>> names_in(const std::string& directory, size_t limit) {
    std::vector<std::string> names;
    std::error_code error;
    std::filesystem::directory_iterator entry(directory, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        if (names.size() == limit) return std::nullopt;
        names.push_back(entry->path().filename().string());
    }
    if (error) return std::nullopt;
    std::sort(names.begin(), names.end());
    return names;
}

std::optional<std::string> real_path(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                           &std::free);
    return real ? std::optional<std::string>(real.get()) : std::nullopt;
}

}  // namespace host
