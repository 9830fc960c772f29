#include "log_folder_fixture.h"

#include <gmock/gmock.h>

#include <sys/resource.h>

#include <csignal>
#include <unistd.h>

namespace
{

using namespace Tests;
using namespace Tolvek::Orvan::Log;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

TEST_F(LogFolder, eachFileReceivesTheLinesUpToItsSeverity)
{
    ASSERT_TRUE(logTo(path("new/all.log"), path("errors.log")));
    log(Severity::Error, "broken");
    log(Severity::DetailedTrace, "step");
    EXPECT_THAT(contentOf(path("new/all.log")), AllOf(HasSubstr(" error - broken\n"), HasSubstr(" detail - step\n")));
    EXPECT_THAT(contentOf(path("errors.log")), AllOf(HasSubstr("broken"), Not(HasSubstr("step"))));
}

TEST_F(LogFolder, aMissingFolderIsMadeForEverybodyToLookInto)
{
    const auto previous = ::umask(0077);
    EXPECT_TRUE(logTo(path("new/all.log"), path("errors.log")));
    ::umask(0);
    EXPECT_TRUE(logTo(path("open/all.log"), path("errors.log")));
    ::umask(previous);

    struct stat status = {};
    ASSERT_EQ(::stat(path("new").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0755U);
    ASSERT_EQ(::stat(path("open/all.log").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(LogFolder, contentIsKeptOnlyWhenAppending)
{
    for (const auto& [append, expectedLines] : {std::pair{true, 1U}, {true, 2U}, {false, 1U}})
    {
        ASSERT_TRUE(logTo(path("all.log"), path("errors.log"), append));
        log(Severity::Trace, "line");
        EXPECT_EQ(lineCount(contentOf(path("all.log"))), expectedLines);
    }
}

TEST_F(LogFolder, aFullFileIsRenamedAndBegunAnew)
{
    std::ofstream{path("all.log.1")} << "older";
    ASSERT_TRUE(logTo(path("all.log"), path("errors.log"), true, 1));
    log(Severity::Trace, std::string(900, 'a'));
    EXPECT_EQ(contentOf(path("all.log.1")), "older");
    log(Severity::Trace, std::string(900, 'b'));
    EXPECT_THAT(contentOf(path("all.log.1")), AllOf(HasSubstr("aaa"), HasSubstr("bbb"), Not(HasSubstr("older"))));
    EXPECT_EQ(contentOf(path("all.log")), "");
    log(Severity::Trace, "next");
    EXPECT_EQ(lineCount(contentOf(path("all.log"))), 1U);

    std::ofstream{path("all.log"), std::ios::app} << std::string(1024, 'c');
    ASSERT_TRUE(logTo(path("all.log"), path("errors.log"), true, 1));
    EXPECT_THAT(contentOf(path("all.log.1")), HasSubstr("ccc")) << "full already when opened";
}

TEST_F(LogFolder, longTextsAreCutBetweenCharactersAndTheirLengthIsTold)
{
    constexpr std::size_t kArgument = 24UL * 1024;
    constexpr std::size_t kLine = 64UL * 1024;
    ASSERT_TRUE(logTo(path("all.log"), path("errors.log")));
    const std::string fits(kArgument, 'a');
    const std::string cut = std::string(kArgument - 3, 'b') + "\U0001F527 and more"; // the cut is behind its third byte
    orvanDoLog(Severity::Trace, "'%s', '%s': the end", nullptr, fits, cut);
    EXPECT_THAT(contentOf(path("all.log")),
                HasSubstr("'" + fits + "', '" + std::string(kArgument - 3, 'b') + "... (24586 bytes)': the end"));
    orvanDoLog(Severity::Error, std::string(kLine - 1, '\n') + "\u00e9", nullptr);
    EXPECT_THAT(contentOf(path("errors.log")), HasSubstr("\\n\\n... (65537 bytes)\n"));
    EXPECT_LT(contentOf(path("errors.log")).size(), 3 * kLine);
}

TEST_F(LogFolder, writersOfOneFileLoseNothingToEachOther)
{
    // Both files are the same, so every error is written twice, by writers that do not know of each other.
    ASSERT_TRUE(logTo(path("all.log"), path("all.log"), true, 1));
    for (int line = 0; line != 8; ++line)
        log(Severity::Error, std::string(70, 'a'));
    EXPECT_EQ(lineCount(contentOf(path("all.log.1")) + contentOf(path("all.log"))), 16U);
    EXPECT_NE(contentOf(path("all.log")), "");
}

TEST_F(LogFolder, aRemovedFileIsBegunAnewWithoutLosingTheLine)
{
    for (const auto& removed : {"new/all.log", "new"})
    {
        ASSERT_TRUE(logTo(path("new/all.log"), path("errors.log")));
        log(Severity::Trace, "before");
        std::filesystem::remove_all(path(removed));
        log(Severity::Trace, "after");
        EXPECT_THAT(contentOf(path("new/all.log")), AllOf(HasSubstr("after"), Not(HasSubstr("before")))) << removed;
    }
}

TEST_F(LogFolder, aFailingWriteCostsOneLineOnStandardErrorAndThatFile)
{
    ASSERT_TRUE(logTo(path("all.log"), path("errors.log")));
    rlimit unlimited{};
    ::getrlimit(RLIMIT_FSIZE, &unlimited);
    const rlimit limit{2000, unlimited.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    ::testing::internal::CaptureStderr();
    log(Severity::Trace, std::string(3000, 'x'));
    ::setrlimit(RLIMIT_FSIZE, &unlimited);
    log(Severity::Trace, "again");
    log(Severity::Error, "broken");
    const auto said = ::testing::internal::GetCapturedStderr();
    EXPECT_THAT(said, AllOf(HasSubstr(path("all.log")), HasSubstr("File too large")));
    EXPECT_EQ(lineCount(said), 1U);
    EXPECT_THAT(contentOf(path("all.log")), Not(HasSubstr("again")));
    EXPECT_THAT(contentOf(path("errors.log")), HasSubstr("broken"));
}

TEST_F(LogFolder, aRenameThatFailsCostsThatFile)
{
    std::filesystem::create_directory(path("all.log.1"));
    ASSERT_TRUE(logTo(path("all.log"), path("errors.log"), true, 1));
    ::testing::internal::CaptureStderr();
    log(Severity::Trace, std::string(1024, 'x'));
    EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("all.log.1"));
    log(Severity::Trace, "again");
    EXPECT_EQ(lineCount(contentOf(path("all.log"))), 1U);
}

TEST(LoggingDeathTest, aReaderOfStandardErrorThatHasGoneAwayDoesNotEndTheProcess)
{
    const auto logToClosedPipe = []
    {
        std::array<int, 2> ends{};
        const bool isReady = ::pipe(ends.data()) == 0 && ::dup2(ends[1], STDERR_FILENO) >= 0 && ::close(ends[0]) == 0;
        orvanDoLog(Severity::Error, "nobody reads this", nullptr);
        sigset_t pending{};
        ::sigpending(&pending);
        ::_exit(isReady && ::sigismember(&pending, SIGPIPE) == 0 ? 0 : 1);
    };
    EXPECT_EXIT(logToClosedPipe(), ::testing::ExitedWithCode(0), "");
}

} // namespace
