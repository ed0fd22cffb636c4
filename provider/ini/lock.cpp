/// Locks on names, between processes.
///
/// A name has a lock file, and the lock is a POSIX record lock on it: the kernel gives it up when
/// the holder dies, and a forked child does not get it. Within a process the table below counts how
/// often a name is held, as a record lock itself knows only processes.

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/ini.h"
#include "provider/call.h"

namespace {

constexpr const char* kLockDirectory = "/var/lock/ini";
constexpr int kFailure = -1;

enum class Mode { kRead, kWrite };

/// One lock file. Its descriptor is opened once: closing any descriptor of a file gives up every
/// record lock that the process has on it.
struct HeldName {
    int fd = -1;
    int readers = 0;
    int writers = 0;

    bool unused() const { return readers == 0 && writers == 0; }
    int& holders(Mode mode) { return mode == Mode::kRead ? readers : writers; }
    short record_type() const {
        if (writers > 0) return F_WRLCK;
        return readers > 0 ? F_RDLCK : F_UNLCK;
    }
};

struct Handle {
    std::string name;
    Mode mode;
};

/// Waits as long as it takes. Fails on a deadlock: two processes that hold a name for reading and
/// both want it for writing.
bool set_record_lock(int fd, short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    int result;
    do result = ::fcntl(fd, F_SETLKW, &lock);
    while (result != 0 && errno == EINTR);
    return result == 0;
}

/// A name is a path more often than not: a slash must not lead out of the directory.
std::string lock_file_of(std::string_view name) {
    std::string file = std::string(kLockDirectory) + '/';
    for (const char c : name) {
        if (c == '/' || c == '%' || (c == '.' && file.ends_with('/')))
            file += fmt::format("%{:02X}", static_cast<unsigned char>(c));
        else
            file += c;
    }
    return file;
}

int open_lock_file(const std::string& name) {
    std::error_code ignored;  // opening fails in its turn
    std::filesystem::create_directories(kLockDirectory, ignored);
    return ::open(lock_file_of(name).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
}

class Locks {
  public:
    int take(const std::string& name, Mode mode) {
        HeldName& held = names_[name];
        if (held.fd < 0) held.fd = open_lock_file(name);
        const short before = held.record_type();
        ++held.holders(mode);
        if (held.fd < 0 || !become(held, before)) {
            --held.holders(mode);
            drop_if_unused(name);
            return kFailure;
        }
        while (handles_.contains(next_handle_)) advance();
        handles_.emplace(next_handle_, Handle{name, mode});
        const int handle = next_handle_;
        advance();
        return handle;
    }

    int release(int handle) {
        const auto found = handles_.find(handle);
        if (found == handles_.end()) return kFailure;
        const Handle released = found->second;
        handles_.erase(found);
        HeldName& held = names_[released.name];
        const short before = held.record_type();
        --held.holders(released.mode);
        become(held, before);
        drop_if_unused(released.name);
        return 0;
    }

    /// What a forked child copied from its parent is the parent's. Handles go on counting, so that
    /// one of the parent's never means a lock of the child.
    void forget_parents() {
        for (const auto& [name, held] : names_) ::close(held.fd);
        names_.clear();
        handles_.clear();
    }

  private:
    static bool become(const HeldName& held, short before) {
        return held.record_type() == before || set_record_lock(held.fd, held.record_type());
    }
    void drop_if_unused(const std::string& name) {
        const auto held = names_.find(name);
        if (!held->second.unused()) return;
        if (held->second.fd >= 0) ::close(held->second.fd);
        names_.erase(held);
    }
    void advance() { next_handle_ = next_handle_ == INT32_MAX ? 0 : next_handle_ + 1; }

    std::map<std::string, HeldName> names_;
    std::map<int, Handle> handles_;
    int next_handle_ = 0;
};

Locks& locks() {
    static Locks table;
    static pid_t owner = ::getpid();
    if (owner != ::getpid()) {
        table.forget_parents();
        owner = ::getpid();
    }
    return table;
}

int take(const char* function, const char* name, Mode mode) {
    return provider::call(function, provider::arguments(name), [&] {
        return name == nullptr || *name == '\0' ? kFailure : locks().take(name, mode);
    });
}

}  // namespace

int Ini_Conf_Read_Lock_File(const char* name) { return take(__func__, name, Mode::kRead); }

int Ini_Conf_Write_Lock_File(const char* name) { return take(__func__, name, Mode::kWrite); }

int Ini_Conf_Unlock_File(int handle) {
    return provider::call(__func__, provider::arguments(handle),
                          [&] { return locks().release(handle); });
}
