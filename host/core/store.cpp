#include "core/store.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/failure.h"
#include "core/read.h"
#include "core/whole.h"

namespace host {

namespace {

using ssd_op::shared::Descriptor;

constexpr size_t kMostBytes = 4 << 20;

[[noreturn]] void fail(const std::string& what, const std::string& path) {
    throw Failure(what + " " + path + ": " + std::strerror(errno) + ".",
                  "Is there room, and may this user write there? Run it as root.");
}

void make_directory(const std::string& directory) {
    if (::mkdir(directory.c_str(), 0755) != 0 && errno != EEXIST) fail("Cannot make", directory);
    // What is in it decides over data: nobody else's directory, and nobody else writes to it.
    struct stat found {};
    if (::lstat(directory.c_str(), &found) != 0 || !S_ISDIR(found.st_mode))
        fail("There is no directory", directory);
    if (found.st_uid != ::geteuid() || (found.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        throw Failure("Others may write to the directory " + directory + ".",
                      "Give it to root with mode 755, and look at what is in it.");
    }
}

}  // namespace

Store::Store(const Roots& roots, const std::string& name)
    : directory_(roots.state), path_(roots.state + "/" + name) {
    make_directory(directory_);
    const std::string lock = path_ + ".lock";
    lock_ = Descriptor(::open(lock.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!lock_) fail("Cannot open", lock);
    while (::flock(lock_.get(), LOCK_EX) != 0) {
        if (errno != EINTR) fail("Cannot lock", lock);
    }
}

void Store::let_tools_hold_it() {
    if (::fcntl(lock_.get(), F_SETFD, 0) != 0) fail("Cannot share the lock of", path_);
}

Json Store::read(const Json& nothing) const {
    struct stat found {};
    if (::lstat(path_.c_str(), &found) != 0 && errno == ENOENT) return nothing;
    const auto text = read_file(path_, kMostBytes);
    Json value = text ? parse_foreign(*text) : Json(Json::value_t::discarded);
    if (value.is_discarded() || value.type() != nothing.type()) {
        throw Failure("The file " + path_ + " cannot be read, or is not what this program wrote.",
                      "Restore it from a backup, or move it away and begin anew.");
    }
    return value;
}

void Store::write(const Json& value) {
    const std::string draft = path_ + ".new";
    const Descriptor file(
        ::open(draft.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file) fail("Cannot make", draft);
    const std::string text = value.dump(2, ' ', true, Json::error_handler_t::replace) + "\n";
    if (!write_whole(file.get(), text)) fail("Cannot write", draft);
    if (::fsync(file.get()) != 0) fail("Cannot sync", draft);
    if (std::rename(draft.c_str(), path_.c_str()) != 0) fail("Cannot replace", path_);
    // The new name, too, must be there after a power cut.
    const Descriptor directory(::open(directory_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory || ::fsync(directory.get()) != 0) fail("Cannot sync", directory_);
}

Json parse_foreign(const std::string& text) {
    constexpr int kDeepest = 32;
    bool deep = false;
    const auto watch = [&deep](int depth, Json::parse_event_t, const Json&) {
        deep = deep || depth > kDeepest;
        return !deep;
    };
    Json value = Json::parse(text, watch, false);
    return deep ? Json(Json::value_t::discarded) : value;
}

}  // namespace host
