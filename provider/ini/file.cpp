#include "provider/ini/file.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

namespace provider::ini {

namespace {

constexpr mode_t kModeOfNewFile = 0644;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

bool is_blank(char c) { return c == ' ' || c == '\t'; }

bool quoted(std::string_view value) {
    return value.size() >= 2 && value.front() == '"' && value.back() == '"';
}

bool needs_quotes(std::string_view value) {
    return !value.empty() && (is_blank(value.front()) || is_blank(value.back()) || quoted(value));
}

bool fits_one_line(std::string_view text) {
    return text.find_first_of("\r\n") == std::string_view::npos;
}

bool is_section_name(std::string_view name) {
    return !name.empty() && fits_one_line(name) && name.find(']') == std::string_view::npos &&
           !is_blank(name.front()) && !is_blank(name.back());
}

bool is_key_name(std::string_view name) {
    constexpr std::string_view kOtherLines = ";#[";
    return !name.empty() && fits_one_line(name) && name.find('=') == std::string_view::npos &&
           kOtherLines.find(name.front()) == std::string_view::npos && !is_blank(name.front()) &&
           !is_blank(name.back());
}

/// A file that is a link stays one: what it points to is replaced.
std::string real_path(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr),
                                                               &std::free);
    return resolved ? resolved.get() : path;
}

bool write_all(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(fd, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return false;
        text.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

/// The new content has a name of its own in the same directory until it takes the file's name. What
/// must survive is a killed process, not a power cut, so nothing waits for the disk.
bool replace_file(const std::string& path, std::string_view text) {
    struct stat old {};
    const mode_t mode = ::stat(path.c_str(), &old) == 0 ? old.st_mode & 07777 : kModeOfNewFile;
    std::string temporary = path + ".XXXXXX";
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) return false;
    bool done = write_all(fd, text) && ::fchmod(fd, mode) == 0;
    done = ::close(fd) == 0 && done;
    done = done && ::rename(temporary.c_str(), path.c_str()) == 0;
    if (!done) ::unlink(temporary.c_str());
    return done;
}

}  // namespace

IniFile::IniFile(const char* path) : path_(real_path(path)) {
    content_.SetUnicode(false);
    content_.SetQuotes(false);  // its own quotes would be lost when another key is written
    const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path_.c_str(), "re"));
    exists_ = file && content_.LoadFile(file.get()) >= 0;
    unreadable_ = !exists_ && (file || errno != ENOENT);
}

std::optional<std::string> IniFile::get(const char* section, const char* key) const {
    const char* value = content_.GetValue(section, key);
    if (value == nullptr) return std::nullopt;
    const std::string_view text = value;
    return std::string(quoted(text) ? text.substr(1, text.size() - 2) : text);
}

bool IniFile::set(const char* section, const char* key, const std::string& value) {
    if (!is_section_name(section) || !is_key_name(key) || !fits_one_line(value)) return false;
    const std::string stored = needs_quotes(value) ? '"' + value + '"' : value;
    return content_.SetValue(section, key, stored.c_str(), nullptr, true) >= 0;
}

void IniFile::remove(const char* section) { content_.Delete(section, nullptr); }

bool IniFile::save() const {
    std::string text;
    return !unreadable_ && content_.Save(text, false) >= 0 && replace_file(path_, text);
}

}  // namespace provider::ini
