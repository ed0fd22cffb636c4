// The database moves between two file systems, and whatever dies or fails on the way it stays
// whole.

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <optional>

#include <SQLiteCpp/SQLiteCpp.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include "ssd_op.h"
#include "support/appliance.h"
#include "support/records.h"
#include "support/traced.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kVolume = "/share/DATA_1";
const std::string kOnVolume = "/share/DATA_1/.Oprella/ssd_op.db";
const std::string kOnSystem = "/mnt/HDA_ROOT/.config/Oprella/ssd_op.db";
constexpr const char* kFolder = "Oprella";
const std::string kTemplate = "/root/template.db";
constexpr int kRecords = 3;
constexpr int kSamples = 10000;  // so many that `mv` copies the file in several pieces
constexpr int kLookMilliseconds = 30;

/// What happens at a change of a file that one of them is about to make.
struct Blow {
    enum class At { kMover, kCommand } at;
    enum class Mover { kDies, kLives } mover;
    std::function<void(support::Traced&, const support::SystemCall&)> strike;
};

struct Attempt {
    bool has_moved, has_met_fault;
};

/// From the n-th on, no call works that is about the journal.
Attempt move_with_broken_journal(int n) {
    support::Traced mover([] {
        if (SSD_OP_DB_Set_Location(SSD_OP_DB_LOCATION_VOLUME) != 0) ::_exit(1);
    });
    int met = 0;
    while (const auto call = mover.next()) {
        if (call->path.find("ssd_op.db-journal") != std::string::npos && ++met >= n)
            mover.fail(call->process, EIO);
    }
    return {.has_moved = mover.came_through(), .has_met_fault = met >= n};
}

const std::string& path_of(int location) {
    return location == SSD_OP_DB_LOCATION_VOLUME ? kOnVolume : kOnSystem;
}

int other(int location) {
    return location == SSD_OP_DB_LOCATION_VOLUME ? SSD_OP_DB_LOCATION_SYSTEM
                                                 : SSD_OP_DB_LOCATION_VOLUME;
}

int location() {
    int where = -1;
    SSD_OP_DB_Get_Location(&where, nullptr, 0);
    return where;
}

std::vector<std::string> files() {
    std::vector<std::string> found;
    for (const std::string& path : {kOnVolume, kOnSystem}) {
        for (const auto& entry : fs::directory_iterator(fs::path(path).parent_path()))
            found.push_back(entry.path());
    }
    std::ranges::sort(found);
    return found;
}

class Move : public support::ApplianceTest {
  protected:
    void SetUp() override {
        struct stat volume {};
        struct stat system {};
        ASSERT_EQ(::stat(kVolume, &volume) | ::stat("/mnt/HDA_ROOT", &system), 0);
        ASSERT_NE(volume.st_dev, system.st_dev) << "run it with APPLIANCE_DATA_VOLUME_MIB=8";
        for (int record = 0; record < kRecords; ++record)
            ASSERT_GT(support::store_record("a record", {appliance::drive_id(0)}), 0);
        fs::remove(kTemplate + "-journal");
        fs::copy_file(appliance().database(), kTemplate, fs::copy_options::overwrite_existing);
        make_template(kSamples);
    }

    static void make_template(int samples) {
        SQLite::Database(kTemplate, SQLite::OPEN_READWRITE)
            .exec(
                "DELETE FROM RUNTIME_REPORT; WITH RECURSIVE n(i) AS (VALUES(1) UNION ALL SELECT "
                "i + 1 FROM n WHERE i < " +
                std::to_string(samples) +
                ") INSERT INTO RUNTIME_REPORT SELECT 10, i, 1, '1', 1 FROM n; VACUUM");
    }

    static void leave_journal_at_template(const std::string& setting) {
        const auto killed = support::in_child([&] {
            SQLite::Database database(kTemplate, SQLite::OPEN_READWRITE);
            database.exec(setting + "; BEGIN; UPDATE RUNTIME_REPORT SET result = 2");
            return ::raise(SIGKILL);
        });
        ASSERT_EQ(killed, support::killed(SIGKILL));
        ASSERT_TRUE(support::exists(kTemplate + "-journal"));
    }

    /// The database lies there and nowhere else, and may move.
    static void put_at(int place) {
        for (const std::string& path : {kOnVolume, kOnSystem}) {
            fs::remove_all(fs::path(path).parent_path());
            fs::create_directories(fs::path(path).parent_path());
        }
        fs::copy_file(kTemplate, path_of(place));
        support::write_file(appliance::kCapacityFile,
                            place == SSD_OP_DB_LOCATION_SYSTEM
                                ? "/share/DATA_1 200000 0\n/mnt/HDA_ROOT 1 0\n"
                                : "/share/DATA_1 1 0\n/mnt/HDA_ROOT 200000 0\n");
    }

    void expect_whole(int samples = kSamples) {
        EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), kRecords);
        EXPECT_EQ(appliance().sql_value("SELECT sum(result) FROM RUNTIME_REPORT"),
                  std::to_string(samples));
        EXPECT_EQ(appliance().sql_value("PRAGMA integrity_check"), "ok");
        EXPECT_EQ(files(), std::vector{appliance().database()}) << "nothing is left beside it";
    }

    /// Deals the blow at each of the changes of a move. @return how many these were
    int strike_at_every_change(int to, const Blow& blow) {
        SCOPED_TRACE("to " + path_of(to));
        int n = 1;
        while (strike(to, blow, n)) ++n;
        EXPECT_EQ(location(), to) << "it moves when nothing happens";
        return n - 1;
    }

  private:
    /// False when there are fewer changes.
    bool strike(int to, const Blow& blow, int n) {
        put_at(other(to));
        support::Traced move([to] {
            const bool has_moved = SSD_OP_DB_Set_Location(to) == 0;
            if (has_moved != (location() == to)) ::abort();
        });
        std::optional<support::SystemCall> change;
        for (int count = 0; count < n;) {
            change = move.next_change(kFolder);
            if (!change) return false;
            const bool is_by_mover = change->process == move.child();
            if (is_by_mover == (blow.at == Blow::At::kMover)) ++count;
        }
        SCOPED_TRACE("at change " + std::to_string(n) + ", of " + change->path);
        blow.strike(move, *change);
        move.run_to_end();
        EXPECT_EQ(move.came_through(), blow.mover == Blow::Mover::kLives)
            << "what the call returned is not what it did";
        expect_whole();
        return true;
    }
};

}  // namespace

// A process start is slow in the sandbox, so what is alike in both directions is tried in one.

TEST_F(Move, LosesNothingWhereverTheMoverDies) {
    const Blow die{Blow::At::kMover, Blow::Mover::kDies,
                   [](auto& move, auto&) { move.kill(move.child()); }};
    EXPECT_GT(strike_at_every_change(SSD_OP_DB_LOCATION_VOLUME, die), 10);
    EXPECT_GT(strike_at_every_change(SSD_OP_DB_LOCATION_SYSTEM, die), 10);
}

TEST_F(Move, IsAwaitedWhenTheMoverDiesWhileItsCommandRuns) {
    const Blow die{Blow::At::kCommand, Blow::Mover::kDies, [](auto& move, auto&) {
                       move.kill(move.child());
                       support::Child reader([] { return SSD_OP_DB_Query_Record_Count(); });
                       support::pause_for_milliseconds(kLookMilliseconds);
                       EXPECT_TRUE(reader.running()) << "the command holds the marks";
                       move.run_to_end();
                       EXPECT_EQ(reader.wait(), support::exited(kRecords));
                   }};
    EXPECT_GT(strike_at_every_change(SSD_OP_DB_LOCATION_SYSTEM, die), 4);
}

TEST_F(Move, LosesNothingWhereverItsCommandDies) {
    const Blow kill{Blow::At::kCommand, Blow::Mover::kLives,
                    [](auto& move, auto& change) { move.kill(change.process); }};
    EXPECT_GT(strike_at_every_change(SSD_OP_DB_LOCATION_VOLUME, kill), 4);
    const Blow kill_both{Blow::At::kCommand, Blow::Mover::kDies, [](auto& move, auto& change) {
                             move.kill(change.process);
                             move.kill(move.child());
                         }};
    EXPECT_GT(strike_at_every_change(SSD_OP_DB_LOCATION_VOLUME, kill_both), 4);
    EXPECT_GT(strike_at_every_change(SSD_OP_DB_LOCATION_SYSTEM, kill_both), 4);
}

TEST_F(Move, LosesNothingWhateverFails) {
    const Blow fail{Blow::At::kMover, Blow::Mover::kLives,
                    [](auto& move, auto& change) { move.fail(change.process, ENOSPC); }};
    EXPECT_GT(strike_at_every_change(SSD_OP_DB_LOCATION_VOLUME, fail), 10);
    const Blow fail_from_now_on{
        Blow::At::kMover, Blow::Mover::kLives, [](auto& move, const auto& change) {
            for (std::optional next = change; next; next = move.next_change(kFolder))
                move.fail(next->process, ENOSPC);
        }};
    EXPECT_GT(strike_at_every_change(SSD_OP_DB_LOCATION_SYSTEM, fail_from_now_on), 10);
}

TEST_F(Move, ToAVolumeWithoutRoomLeavesEverythingAsItWas) {
    constexpr size_t kPage = 4096;
    put_at(SSD_OP_DB_LOCATION_SYSTEM);
    const size_t size = fs::file_size(kOnSystem);
    const std::string filler = std::string(kVolume) + "/filler";
    for (const size_t room : {size_t{0}, kPage, size / 2, size - kPage}) {
        SCOPED_TRACE("with room for " + std::to_string(room) + " bytes");
        support::write_file(filler, std::string(fs::space(kVolume).available - room, 'x'));
        EXPECT_GT(SSD_OP_DB_Set_Location(SSD_OP_DB_LOCATION_VOLUME), 0);
        EXPECT_EQ(location(), SSD_OP_DB_LOCATION_SYSTEM);
        expect_whole();
        fs::remove(filler);
    }
    EXPECT_EQ(SSD_OP_DB_Set_Location(SSD_OP_DB_LOCATION_VOLUME), 0);
    EXPECT_EQ(location(), SSD_OP_DB_LOCATION_VOLUME);
    expect_whole();
}

TEST_F(Move, GoesAheadOnlyWhenWhatAKilledProcessLeftIsUndone) {
    constexpr int kFewSamples = 400;
    make_template(kFewSamples);
    leave_journal_at_template("PRAGMA cache_size = 1");  // so small that the change is in the file
    int refusals = 0;
    for (int n = 1;; n *= 2) {
        put_at(SSD_OP_DB_LOCATION_SYSTEM);
        fs::copy_file(kTemplate + "-journal", kOnSystem + "-journal");
        const Attempt attempt = move_with_broken_journal(n);
        SCOPED_TRACE(n);
        EXPECT_EQ(attempt.has_moved, !attempt.has_met_fault);
        EXPECT_EQ(location(),
                  attempt.has_moved ? SSD_OP_DB_LOCATION_VOLUME : SSD_OP_DB_LOCATION_SYSTEM);
        expect_whole(kFewSamples);
        if (attempt.has_moved) break;
        ++refusals;
    }
    EXPECT_GT(refusals, 2);
}

TEST_F(Move, TakesAJournalThatWasNotInForceForNoReasonToStay) {
    leave_journal_at_template("PRAGMA cache_size = 10000");  // so large that the file is unchanged
    put_at(SSD_OP_DB_LOCATION_SYSTEM);
    fs::copy_file(kTemplate + "-journal", kOnSystem + "-journal");
    EXPECT_EQ(SSD_OP_DB_Set_Location(SSD_OP_DB_LOCATION_VOLUME), 0);
    expect_whole();
}
