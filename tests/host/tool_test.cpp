#include "core/tool.h"

#include <csignal>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/failure.h"

namespace host {
namespace {

using ::testing::HasSubstr;

ToolOutput shell(const std::string& line, const ToolOptions& options = {}) {
    return run_tool({"sh", "-c", line}, options);
}

TEST(Tool, GetsAndGivesTextWhateverTheCallerDoesWithSignals) {
    ::signal(SIGCHLD, SIG_IGN);
    const std::string text(300000, 'x');
    const ToolOutput output =
        shell("cat; yes complaint | head -c 200000 >&2; true & wait $! && echo \" $A\"; exit 3",
              {.input = text, .variables = {"A=b"}});
    ::signal(SIGCHLD, SIG_DFL);
    EXPECT_TRUE(output.whole);
    EXPECT_EQ(output.status, 3);
    EXPECT_EQ(output.text, text + " b\n");
    EXPECT_THAT(output.complaint, HasSubstr("complaint\ncomplaint"));
    EXPECT_TRUE(shell("exec true", {.input = text}).whole);  // nobody reads it
}

TEST(Tool, IsWaitedForNoLongerThanItMayTake) {
    using std::chrono::seconds;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(shell("echo a; exec sleep 20", {.most_time = seconds(1)}).whole);
    EXPECT_FALSE(shell("exec >&- 2>&-; exec sleep 20", {.most_time = seconds(1)}).whole);
    EXPECT_FALSE(shell("exec yes").whole);
    // What it leaves behind is not waited for.
    EXPECT_EQ(shell("sleep 2 & echo a").text, "a\n");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, seconds(15));
}

TEST(Tool, TellsWhyItFailed) {
    EXPECT_EQ(must_run({"echo", "a"}), "a\n");
    try {
        must_run({"sh", "-c", "printf 'no\\n\\033[2J' >&2; exit 5"});
        FAIL();
    } catch (const Failure& failure) {
        EXPECT_STREQ(failure.what(), "sh exited with 5: no;\\x1b[2J");
    }
    EXPECT_THROW(must_run({"there is no such program"}), Failure);
}

}  // namespace
}  // namespace host
