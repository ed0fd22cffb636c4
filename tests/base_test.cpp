// Values from users and drives on their way through a real shell, files that others made, and the
// end of exceptions.

#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/boundary.h"
#include "base/command.h"
#include "base/plain_file.h"
#include "support/appliance.h"

namespace base = ssd_op::base;

namespace {

std::string every_byte_but_nul() {
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte) bytes += static_cast<char>(byte);
    return bytes +
           "'; touch /tmp/broken_out; ' $(touch /tmp/broken_out) `touch /tmp/broken_out` \\";
}

std::string printed(const std::string& line) { return base::run_and_read(line, 4096).text; }

}  // namespace

TEST(ShellQuoting, EveryByteArrivesUnchangedInEveryPlace) {
    const std::string hostile = every_byte_but_nul() + "end";
    EXPECT_EQ(printed("printf %s " + base::shell_word(hostile)), hostile);
    EXPECT_EQ(printed("printf %s 'a" + base::inside_single_quotes(hostile) + "'"), "a" + hostile);
    EXPECT_EQ(printed("printf %s \"a" + base::inside_double_quotes(hostile) + "\""), "a" + hostile);
    EXPECT_EQ(printed("printf %s $'a" + base::inside_dollar_quotes(hostile) + "'"), "a" + hostile);
    EXPECT_NE(base::run("test -e /tmp/broken_out"), 0) << "a value ran as a command";
}

TEST(ShellQuoting, HarmlessValuesStandAsTheyAre) {
    EXPECT_EQ(base::shell_word("/dev/mapper/lv1568"), "/dev/mapper/lv1568");
    EXPECT_EQ(base::shell_word(""), "''");
    EXPECT_EQ(base::shell_word("a b"), "'a b'");
    EXPECT_EQ(base::shell_word("~root"), "'~root'");
}

TEST(PlainFile, NeitherWaitsForPipesNorFollowsLinks) {
    std::ofstream("/tmp/plain") << "1";
    ASSERT_EQ(::mkfifo("/tmp/pipe", 0666), 0);
    ASSERT_EQ(::symlink("/tmp/plain", "/tmp/link"), 0);
    for (const int flags : {O_RDONLY, O_RDWR, O_WRONLY | O_APPEND | O_CREAT}) {
        for (const char* path : {"/tmp/pipe", "/tmp/link", "/tmp", "/dev/zero"})
            EXPECT_FALSE(base::open_plain_file(path, flags, 0600)) << path << ' ' << flags;
        EXPECT_TRUE(base::open_plain_file("/tmp/plain", flags, 0600)) << flags;
    }
    EXPECT_FALSE(base::open_plain_file("/tmp/absent"));
}

class Boundary : public support::ApplianceTest {};

TEST_F(Boundary, NamesTheLineThatRanOutOfMemory) {
    const auto out_of_memory = []() -> int { throw std::bad_alloc(); };
    const auto helper = [&](base::Caller caller) {
        return base::guarded(caller, -7, out_of_memory);
    };
    const int line = __LINE__;
    EXPECT_EQ(base::guarded("direct", -1, out_of_memory), -1);
    EXPECT_EQ(helper("helped"), -7);
    EXPECT_TRUE(
        appliance().traced("direct:out of memory(line:" + std::to_string(line + 1) + ")!!"));
    EXPECT_TRUE(
        appliance().traced("helped:out of memory(line:" + std::to_string(line + 2) + ")!!"));
}
