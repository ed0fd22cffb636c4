// The configuration library's stand-in, used by several processes at once: its locks and its files.

#include "platform/ini.h"

#include <algorithm>
#include <list>
#include <regex>
#include <string>

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/appliance.h"

using namespace support;

namespace {

constexpr const char* kFile = "/etc/config/sample.conf";
constexpr const char* kName = "/etc/config/sample.conf";
constexpr int kLongEnoughToSeeMs = 60;

std::string field(const char* key, const char* file = kFile) {
    char buffer[64 * 1024];
    return Ini_Conf_Get_Field(file, "Section", key, buffer, sizeof(buffer)) < 0 ? "absent" : buffer;
}

int take_and_release(int (*take)(const char*), const char* name = kName) {
    const int handle = take(name);
    return handle < 0 ? 1 : Ini_Conf_Unlock_File(handle);
}

std::string without_blank_lines(const std::string& text) {
    return std::regex_replace(text, std::regex("\n+"), "\n");
}

int write_once() { return take_and_release(Ini_Conf_Write_Lock_File); }
int read_once() { return take_and_release(Ini_Conf_Read_Lock_File); }

bool waits(Child& child) {
    pause_for_milliseconds(kLongEnoughToSeeMs);
    return child.running();
}

}  // namespace

class IniLock : public ApplianceTest {};
class IniFile : public ApplianceTest {};
class IniBitmap : public ApplianceTest {};

TEST_F(IniLock, LetsNoUpdateOfManyProcessesGetLost) {
    constexpr int kWriters = 6;
    constexpr int kRounds = 150;
    const auto count_up = [] {
        for (int round = 0; round < kRounds; ++round) {
            const int handle = Ini_Conf_Write_Lock_File(kName);
            int count = 0;
            Ini_Conf_Get_Field_Int(kFile, "Section", "count", &count, 0);
            if (Ini_Conf_Set_Field_Int(kFile, "Section", "count", count + 1, 0) < 0) return 1;
            if (Ini_Conf_Unlock_File(handle) != 0) return 2;
        }
        return 0;
    };
    std::list<Child> writers;
    for (int writer = 0; writer < kWriters; ++writer) writers.emplace_back(count_up);
    for (Child& writer : writers) EXPECT_EQ(writer.wait(), exited(0));
    EXPECT_EQ(field("count"), std::to_string(kWriters * kRounds));
}

TEST_F(IniLock, IsSharedByReadersAndKeepsWritersOut) {
    const int handle = Ini_Conf_Read_Lock_File(kName);
    EXPECT_EQ(in_child(read_once), exited(0));
    Child writer(write_once);
    EXPECT_TRUE(waits(writer));
    EXPECT_EQ(in_child([] { return take_and_release(Ini_Conf_Write_Lock_File, "another"); }),
              exited(0));
    EXPECT_EQ(Ini_Conf_Unlock_File(handle), 0);
    EXPECT_EQ(writer.wait(), exited(0));
}

TEST_F(IniLock, IsReentrantAndHeldUntilTheLastRelease) {
    const int reading = Ini_Conf_Read_Lock_File(kName);
    const int writing = Ini_Conf_Write_Lock_File(kName);
    const int again = Ini_Conf_Write_Lock_File(kName);
    ASSERT_TRUE(reading >= 0 && writing >= 0 && again >= 0);

    Child reader(read_once);
    EXPECT_EQ(Ini_Conf_Unlock_File(writing), 0);
    EXPECT_TRUE(waits(reader)) << "one of two write locks was given up and nothing is held";
    EXPECT_EQ(Ini_Conf_Unlock_File(again), 0);
    EXPECT_EQ(reader.wait(), exited(0)) << "only a read lock is left";

    Child writer(write_once);
    EXPECT_TRUE(waits(writer));
    EXPECT_EQ(Ini_Conf_Unlock_File(reading), 0);
    EXPECT_EQ(writer.wait(), exited(0));

    EXPECT_EQ(Ini_Conf_Unlock_File(reading), -1) << "released twice";
    EXPECT_EQ(Ini_Conf_Unlock_File(-1), -1);
    EXPECT_EQ(Ini_Conf_Write_Lock_File(""), -1);
}

TEST_F(IniLock, TwoReadersThatBothWantToWriteDoNotWaitForEver) {
    const auto upgrade = [] {
        const int reading = Ini_Conf_Read_Lock_File(kName);
        pause_for_milliseconds(kLongEnoughToSeeMs);
        const int writing = Ini_Conf_Write_Lock_File(kName);
        const int refused = writing < 0 ? 1 : 0;
        Ini_Conf_Unlock_File(writing);
        return Ini_Conf_Unlock_File(reading) == 0 ? refused : 2;
    };
    Child one(upgrade);
    Child other(upgrade);
    const Ending ending = one.wait();
    EXPECT_TRUE((ending == exited(0) && other.wait() == exited(1)) ||
                (ending == exited(1) && other.wait() == exited(0)));
}

TEST_F(IniLock, GoesWithItsHolderAtAnyDeath) {
    Child holder([] {
        Ini_Conf_Write_Lock_File(kName);
        write_file("/tmp/ssd_op_held", "");
        ::pause();
        return 0;
    });
    ASSERT_TRUE(eventually([] { return exists("/tmp/ssd_op_held"); }));
    Child next(write_once);
    EXPECT_TRUE(waits(next));
    holder.signal(SIGKILL);
    EXPECT_EQ(holder.wait(), killed(SIGKILL));
    EXPECT_EQ(next.wait(), exited(0));
}

TEST_F(IniLock, IsNotHeldByAForkedChild) {
    const int handle = Ini_Conf_Write_Lock_File(kName);
    EXPECT_EQ(in_child([=] { return Ini_Conf_Unlock_File(handle) == -1 ? 0 : 1; }), exited(0));
    EXPECT_EQ(in_child([=] {
                  const int own = Ini_Conf_Write_Lock_File("own");
                  const int parents = Ini_Conf_Unlock_File(handle);
                  return own != handle && parents == -1 && Ini_Conf_Unlock_File(own) == 0 ? 0 : 1;
              }),
              exited(0))
        << "a handle of the parent's meant a lock of the child's";
    Child child(write_once);
    EXPECT_TRUE(waits(child))
        << "a child that came and went has released its parent's lock, or the "
           "child counts what its parent holds as its own";
    EXPECT_EQ(Ini_Conf_Unlock_File(handle), 0);
    EXPECT_EQ(child.wait(), exited(0));
}

TEST_F(IniLock, TellsNamesApartAndKeepsThemInItsDirectory) {
    for (const auto& [held, other] : {std::pair("/a/b", "/a%2Fb"), std::pair("..", "../..")}) {
        const int handle = Ini_Conf_Write_Lock_File(held);
        EXPECT_GE(handle, 0) << held;
        EXPECT_EQ(
            in_child([name = other] { return take_and_release(Ini_Conf_Write_Lock_File, name); }),
            exited(0))
            << held << " and " << other;
        EXPECT_EQ(Ini_Conf_Unlock_File(handle), 0);
    }
}

TEST_F(IniFile, GivesValuesBackByteForByte) {
    std::string every_byte;
    for (int byte = 1; byte < 256; ++byte) {
        if (byte != '\n' && byte != '\r') every_byte += static_cast<char>(byte);
    }
    for (const std::string& value :
         {std::string(), std::string("  both ends  "), std::string("\"quoted\""),
          std::string("\"\"twice\"\""), std::string("\""), std::string("<<<END"),
          std::string("; no comment = really"), std::string("[x]"), std::string("\ttab"),
          every_byte, std::string(20'000, 'x')}) {
        ASSERT_EQ(Ini_Conf_Set_Field(kFile, "Section", "key", value.c_str()), 0) << value;
        // The next write reads and writes the value once more.
        ASSERT_EQ(Ini_Conf_Set_Field_Int(kFile, "Section", "other", 7, 0), 0);
        EXPECT_EQ(field("key"), value);
    }
    const std::string before = read_file(kFile);
    EXPECT_EQ(Ini_Conf_Set_Field(kFile, "Section", "key", "one\n[Other]\nkey = two"), -1);
    EXPECT_EQ(Ini_Conf_Set_Field(kFile, "Section", "a=b", "value"), -1);
    EXPECT_EQ(Ini_Conf_Set_Field(kFile, "Sec]\n[tion", "key", "value"), -1);
    EXPECT_EQ(read_file(kFile), before);
}

TEST_F(IniFile, LeavesWhatIsNotItsBusinessAlone) {
    write_file("/etc/config/real.conf", "; a comment\n\n[B]\nz = 1\ny = 2\n[A]\nx = 3\n");
    ::chmod("/etc/config/real.conf", 0640);
    ASSERT_EQ(::symlink("real.conf", kFile), 0);
    ASSERT_EQ(Ini_Conf_Set_Field(kFile, "B", "y", "4"), 0);
    const std::string written = read_file("/etc/config/real.conf");
    EXPECT_EQ(without_blank_lines(written), "; a comment\n[B]\nz = 1\ny = 4\n[A]\nx = 3\n");
    ASSERT_EQ(Ini_Conf_Set_Field(kFile, "B", "y", "4"), 0);
    EXPECT_EQ(read_file("/etc/config/real.conf"), written) << "the file grows with each write";
    struct stat status {};
    ASSERT_EQ(::stat("/etc/config/real.conf", &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);

    EXPECT_EQ(Ini_Conf_Remove_Section(kFile, "B"), 0);
    EXPECT_EQ(Ini_Conf_Remove_Section(kFile, "B"), 0) << "there is none any more";
    EXPECT_NE(read_file("/etc/config/real.conf").find("x = 3"), std::string::npos);
}

TEST_F(IniFile, TellsAbsentFromEmptyAndLeavesTheOutputAlone) {
    int number = 42;
    EXPECT_EQ(Ini_Conf_Get_Field_Int(kFile, "Section", "key", &number, 0), -1) << "no file";
    write_file(kFile, "[Section]\ntext = abc\nnumber = -7\nempty =\n");
    EXPECT_EQ(Ini_Conf_Get_Field_Int(kFile, "Section", "key", &number, 0), -1) << "no key";
    EXPECT_EQ(Ini_Conf_Get_Field_Int(kFile, "Section", "text", &number, 0), -1) << "no number";
    EXPECT_EQ(number, 42);
    EXPECT_EQ(Ini_Conf_Get_Field_Int(kFile, "Section", "number", &number, 0), 0);
    EXPECT_EQ(number, -7);

    char buffer[4] = "old";
    EXPECT_EQ(Ini_Conf_Get_Field(kFile, "Section", "empty", buffer, sizeof(buffer)), 0);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(GetPrivateProfileString("Section", "none", "fallback", buffer, sizeof(buffer), kFile),
              3);
    EXPECT_STREQ(buffer, "fal");

    const char* in_no_directory = "null/ssd_opr.conf";
    EXPECT_EQ(Ini_Conf_Set_Field_Int(in_no_directory, "Section", "key", 1, 0), -1);
    EXPECT_EQ(Ini_Conf_Remove_Section(in_no_directory, "Section"), -1);
}

TEST_F(IniFile, IsWholeAtEveryMomentThoughItsWritersAreKilled) {
    constexpr size_t kLength = 30'000;
    const auto is_whole = [](const std::string& value) {
        return value.size() == kLength &&
               std::ranges::all_of(value, [&](char c) { return c == value[0]; });
    };
    ASSERT_EQ(Ini_Conf_Set_Field(kFile, "Section", "key", std::string(kLength, 'a').c_str()), 0);
    Child reader([&] {
        while (is_whole(field("key"))) {
        }
        return 1;
    });
    for (int round = 0; round < 15; ++round) {
        Child writer([=] {
            for (char letter = 'a';; letter = letter == 'z' ? 'a' : static_cast<char>(letter + 1))
                Ini_Conf_Set_Field(kFile, "Section", "key", std::string(kLength, letter).c_str());
            return 0;
        });
        pause_for_milliseconds(5 + round);
        writer.signal(SIGKILL);
        writer.wait();
        EXPECT_TRUE(is_whole(field("key"))) << "round " << round;
    }
    EXPECT_TRUE(reader.running()) << "somebody saw half a file";
}

TEST_F(IniBitmap, FindsTheFirstFreeBitFromItsStartOn) {
    const auto next_free = [](int start) {
        int bit = -1;
        const int result =
            Ini_Conf_Bitmap_Get_Next_Free_Bit(kFile, "Global", "map", &bit, start, 0);
        return result == 0 ? bit : -1;
    };
    EXPECT_EQ(next_free(800), 800) << "an absent bitmap is an empty one";
    for (const int bit : {0, 1, 5, 800, 801})
        ASSERT_EQ(Ini_Conf_Bitmap_Set_Bit(kFile, "Global", "map", bit), 0);
    const std::string text = read_file(kFile);
    EXPECT_NE(text.find("map = 32"), std::string::npos)
        << "bits 0, 1 and 5, lowest first: " << text;
    EXPECT_EQ(next_free(0), 2);
    EXPECT_EQ(next_free(5), 6);
    EXPECT_EQ(next_free(800), 802);
    EXPECT_EQ(next_free(4095), 4095);
    EXPECT_EQ(next_free(4096), -1) << "beyond what a bitmap holds";

    write_file(kFile, "[Global]\nmap = " + std::string(1024, 'F') + "\n");
    EXPECT_EQ(next_free(0), -1);
    EXPECT_EQ(Ini_Conf_Bitmap_Set_Bit(kFile, "Global", "map", 4096), -1);
    EXPECT_EQ(Ini_Conf_Bitmap_Set_Bit(kFile, "Global", "map", -1), -1);
}

TEST_F(IniFile, KnowsWhichPackagesAreInstalled) {
    EXPECT_NE(Is_BRIX_Installed("Oprella"), 0);
    EXPECT_EQ(Is_BRIX_Installed("NoticeHall"), 0);
    Ini_Conf_Set_Field("/etc/config/brix.conf", "Oprella", "Enable", "FALSE");
    EXPECT_EQ(Is_BRIX_Installed("Oprella"), 0) << "switched off";
    appliance().with([](auto& blueprint) { blueprint.notice_hall_installed = true; });
    EXPECT_NE(Is_BRIX_Installed("NoticeHall"), 0);
}
