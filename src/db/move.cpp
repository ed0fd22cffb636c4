#include "db/move.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/command.h"
#include "base/owners.h"
#include "base/plain_file.h"
#include "db/session.h"

namespace ssd_op::db {

namespace {

constexpr int kRefused = -1;
constexpr int kNotConcluded = 1;
constexpr int kLooksForTheEnd = 600;
constexpr useconds_t kBetweenLooks = 100'000;

std::string arriving(const std::string& path) { return path + ".arriving"; }
std::string arrived(const std::string& path) { return path + ".arrived"; }
std::string leaving(const std::string& path) { return path + ".leaving"; }
std::string journal(const std::string& path) { return path + "-journal"; }
std::string folder_of(const std::string& path) { return path.substr(0, path.rfind('/') + 1); }

bool is_there(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0;
}

/// Marks are regular files, as is what they speak of.
bool is_file(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool remove(const std::string& path) { return ::unlink(path.c_str()) == 0 || errno == ENOENT; }

/// Makes a file's content, or a directory's entries, outlast a loss of power.
bool sync(const std::string& path) {
    const base::Descriptor opened(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return opened && ::fsync(opened.get()) == 0;
}

/// Opens and locks a mark so that commands inherit both: a lock of this kind is free when the last
/// process that got the descriptor has ended. A command line redirects the standard streams, so the
/// descriptor must be none of these.
base::Descriptor hold(const std::string& mark, int flags) {
    const base::Descriptor opened =
        base::open_plain_file(mark.c_str(), O_RDONLY | flags, S_IRUSR | S_IWUSR);
    base::Descriptor held(::fcntl(opened.get(), F_DUPFD, STDERR_FILENO + 1));
    return ::flock(held.get(), LOCK_EX | LOCK_NB) == 0 ? std::move(held) : base::Descriptor();
}

/// Waits until nobody holds the mark.
bool is_free(const std::string& mark) {
    const base::Descriptor opened = base::open_plain_file(mark.c_str());
    if (!opened) return false;
    for (int look = 1; ::flock(opened.get(), LOCK_EX | LOCK_NB) != 0; ++look) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || look == kLooksForTheEnd) return false;
        ::usleep(kBetweenLooks);
    }
    return true;
}

bool settle_arrival(const std::string& path) {
    const std::string mark = arriving(path);
    if (!is_file(mark)) return true;
    // The mark must not go before what it warns of.
    return is_free(mark) && remove(path) && remove(journal(path)) && sync(folder_of(path)) &&
           remove(mark);
}

bool has_arrived(const std::string& path) { return is_file(arrived(path)) && is_there(path); }

/// Step 6, for a place that can be reached.
bool take_leave(const std::string& place) {
    return !is_there(leaving(place)) || (remove(leaving(place)) && sync(folder_of(place)));
}

/// Where the other place cannot be reached, the mark waits for it.
bool settle_arrived(const std::string& path, const Places& places) {
    if (!is_file(arrived(path))) return true;
    if (!is_there(path)) return remove(arrived(path));  // somebody has removed the database
    return sync(folder_of(path)) && std::all_of(places.begin(), places.end(), take_leave) &&
           (places.size() == 1 || remove(arrived(path)));
}

bool settle_departure(const std::string& path) {
    const std::string mark = leaving(path);
    if (!is_file(mark)) return true;
    if (!is_free(mark)) return false;
    // Renaming to another name of the same file would do nothing.
    return is_there(path) ? remove(mark) : std::rename(mark.c_str(), path.c_str()) == 0;
}

bool holds_database(const std::string& path) {
    return (is_there(path) && !is_file(arriving(path))) || is_file(leaving(path));
}

/// As SQLite sees it: a journal that is empty or begins with 0 is not in force yet.
bool is_in_force(const std::string& journal) {
    const base::Descriptor opened = base::open_plain_file(journal.c_str());
    char first = '\0';
    return !opened || ::read(opened.get(), &first, 1) < 0 || first != '\0';
}

/// A journal that a killed process left beside the database holds what must be undone in it. It
/// would stay behind when the file moves, so it is played back before. False when it is still there
/// afterwards; one that is not in force is no reason to stay.
bool settle_journal(const std::string& path) {
    const std::string left = journal(path);
    if (!is_there(left)) return true;
    if (Session session(__func__, path); session)
        session.execute("SELECT COUNT() FROM sqlite_master;");
    return !is_there(left) || (!is_in_force(left) && remove(left));
}

/// The two marks, held by this process and by the commands that it runs.
class Marks {
  public:
    Marks(const std::string& from, const std::string& to)
        : arrival_(hold(arriving(to), O_CREAT | O_EXCL)) {
        if (!arrival_ || !sync(folder_of(to)) || !remove(journal(to))) return;
        if (::link(from.c_str(), leaving(from).c_str()) != 0 || !sync(folder_of(from))) return;
        departure_ = hold(leaving(from), 0);
    }
    bool are_set() const { return static_cast<bool>(departure_); }

  private:
    base::Descriptor arrival_;
    base::Descriptor departure_;
};

int run_move(const std::string& from, const std::string& to) {
    const Marks marks(from, to);
    if (!marks.are_set()) {
        remove(leaving(from));
        remove(arriving(to));
        return kRefused;
    }
    return base::run("/bin/mv -f " + base::shell_word(from) + " " + base::shell_word(to) +
                     " &>/dev/null 2>>/dev/null");
}

/// Makes the new file the database. The old name must not go before that is sure to last.
bool conclude(const std::string& from, const std::string& to) {
    return is_free(arriving(to)) && !is_there(from) && sync(to) && sync(folder_of(to)) &&
           std::rename(arriving(to).c_str(), arrived(to).c_str()) == 0;
}

}  // namespace

int move_database(const std::string& from, const std::string& to) {
    if (!is_file(from) || !settle_journal(from)) return kRefused;
    const int result = run_move(from, to);
    const bool has_moved = result == 0 && conclude(from, to);
    settle_moves({from, to});  // what that cannot do, the next one does
    if (has_moved) return 0;
    return result != 0 ? result : kNotConcluded;
}

bool settle_moves(const Places& places) {
    return std::all_of(places.begin(), places.end(), settle_arrival) &&
           std::all_of(places.begin(), places.end(),
                       [&](const std::string& path) { return settle_arrived(path, places); }) &&
           std::all_of(places.begin(), places.end(), settle_departure);
}

std::string find_database(const Places& places) {
    auto found = std::find_if(places.begin(), places.end(), has_arrived);
    if (found == places.end()) found = std::find_if(places.begin(), places.end(), holds_database);
    return found == places.end() ? std::string() : *found;
}

}  // namespace ssd_op::db
