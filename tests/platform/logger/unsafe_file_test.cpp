#include "log_folder_fixture.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <thread>

namespace
{

using namespace Tests;
using namespace Tolvek::Orvan::Log;
using ::testing::AllOf;
using ::testing::HasSubstr;

constexpr uid_t otherUser = 65534;

/// What another user could prepare at the place of a log file, with a file of ours that must stay as it is.
class UnsafeLogFile : public LogFolder
{
public:
    UnsafeLogFile()
    {
        std::ofstream{victim} << "precious";
        std::filesystem::create_directory(inFolder);
    }

protected:
    /// Expects that `refused` is refused in one line that gives `reason`, and that nothing but it is lost.
    void expectRefused(const std::string& refused, const std::string& reason)
    {
        SCOPED_TRACE(reason);
        for (const bool append : {true, false})
        {
            ::testing::internal::CaptureStderr();
            EXPECT_FALSE(logTo(refused, path("errors.log"), append));
            log(Severity::Error, "broken");
            const auto said = ::testing::internal::GetCapturedStderr();
            EXPECT_THAT(said, AllOf(HasSubstr("'" + refused + "'"), HasSubstr(reason)));
            EXPECT_EQ(lineCount(said), 1U);
            EXPECT_THAT(contentOf(path("errors.log")), HasSubstr("broken"));
            EXPECT_EQ(contentOf(victim), "precious");
        }
    }

    std::string victim = path("victim");
    std::string inFolder = path("in");
    std::string file = path("in/all.log");
};

TEST_F(UnsafeLogFile, isRefusedWhenItIsALink)
{
    std::filesystem::create_symlink(victim, file);
    expectRefused(file, "not a regular file");
    std::filesystem::remove(file);
    std::filesystem::create_symlink(path("missing"), file);
    expectRefused(file, "not a regular file");
    EXPECT_FALSE(std::filesystem::exists(path("missing")));
    std::filesystem::remove(file);
    std::filesystem::create_hard_link(victim, file);
    expectRefused(file, "hard link");
}

TEST_F(UnsafeLogFile, isRefusedWhenItIsNoRegularFile)
{
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    expectRefused(file, "not a regular file");
    expectRefused(file + "/all.log", "no folder");
    const int reader = ::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    expectRefused(file, "not a regular file");
    ::close(reader);
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    expectRefused(file, "not a regular file");
    expectRefused("/dev/null", "not a regular file");
}

TEST_F(UnsafeLogFile, isRefusedWhenOthersCanWriteToItOrItsFolder)
{
    std::ofstream{file} << "";
    for (const mode_t mode : {0660U, 0606U})
    {
        ::chmod(file.c_str(), mode);
        expectRefused(file, "others can write to it");
    }
    ::chmod(file.c_str(), 0600);
    for (const mode_t mode : {0777U, 01777U})
    {
        ::chmod(inFolder.c_str(), mode);
        expectRefused(file, "others can write to the folder 'in'");
    }
    ::chmod(inFolder.c_str(), 0777);
    expectRefused(path("in/own/all.log"), "others can change the folder 'in'");
    ::chmod(inFolder.c_str(), 01777);
    EXPECT_TRUE(logTo(path("in/own/all.log"), path("errors.log"))) << "as below /tmp";
}

TEST_F(UnsafeLogFile, isAcceptedInAFolderThatItsGroupCanWriteToOnlyIfThatIsRoots)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can give folders away";
    for (auto above = std::filesystem::temp_directory_path(); above.has_relative_path(); above = above.parent_path())
    {
        if ((std::filesystem::status(above).permissions() & std::filesystem::perms::others_exec) ==
            std::filesystem::perms::none)
            GTEST_SKIP() << above << " keeps other users out";
    }
    ::chmod(inFolder.c_str(), 0770);
    EXPECT_TRUE(logTo(file, path("errors.log"))) << "as /var/log";
    ::chmod(path("").c_str(), 0755);
    ASSERT_EQ(::chown(inFolder.c_str(), otherUser, otherUser), 0);
    const auto isLogging = [this](mode_t mode)
    { return ::chmod(inFolder.c_str(), mode) == 0 && logTo(path("in/a.log"), path("in/b.log")); };
    EXPECT_EXIT(::_exit(::setuid(otherUser) == 0 && isLogging(0750) && !isLogging(0770) ? 0 : 1),
                ::testing::ExitedWithCode(0), "others can write to the folder 'in'");
}

TEST_F(UnsafeLogFile, isNotOpenedWhileItIsBeingExchangedNorHandedToOtherPrograms)
{
    std::ofstream{file} << "";
    for (const bool isSymbolic : {true, false})
    {
        const auto other = path(isSymbolic ? "link" : "hard link");
        isSymbolic ? std::filesystem::create_symlink(victim, other) : std::filesystem::create_hard_link(victim, other);
        std::atomic<bool> isOver{false};
        std::thread exchanging{[&]
                               {
                                   while (!isOver)
                                       ::renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE);
                               }};
        ::testing::internal::CaptureStderr();
        for (int refused = 0; refused < 500;)
            refused += logTo(file, path("errors.log"), false) ? 0 : 1;
        isOver = true;
        exchanging.join();
        ::testing::internal::GetCapturedStderr();
        EXPECT_EQ(contentOf(victim), "precious");
        if (!std::filesystem::is_regular_file(std::filesystem::symlink_status(file)))
            std::filesystem::rename(other, file);
    }

    ASSERT_TRUE(logTo(path("in/own/all.log"), path("errors.log")));
    int open = 0;
    for (const auto& entry : std::filesystem::directory_iterator{"/proc/self/fd"})
    {
        std::error_code ignored; // the iterator's own is gone by then
        if (std::filesystem::read_symlink(entry, ignored).string().rfind(path(""), 0) != 0)
            continue;
        ++open;
        EXPECT_NE(::fcntl(std::stoi(entry.path().filename()), F_GETFD) & FD_CLOEXEC, 0) << entry;
    }
    EXPECT_GE(open, 3);
}

TEST_F(UnsafeLogFile, isRefusedWhenItsPathLeadsAstray)
{
    std::filesystem::create_directory_symlink(inFolder, path("link"));
    expectRefused(path("link/all.log"), "link");
    expectRefused(path("link/below/all.log"), "link");
    expectRefused(path("in/../victim"), "'..'");
    expectRefused("relative.log", "not absolute");
    expectRefused("", "not absolute");
    expectRefused(inFolder + "/", "names no file");
    EXPECT_FALSE(logTo(file + '\0' + "b", path("errors.log")));
    expectRefused(path("missing/missing/all.log"), "No such file");
    EXPECT_FALSE(std::filesystem::exists(path("missing")));
}

TEST_F(UnsafeLogFile, isRefusedWhenItOrItsFolderBelongsToAnotherUser)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can give files away";
    std::ofstream{file} << "";
    ASSERT_EQ(::chown(file.c_str(), otherUser, otherUser), 0);
    expectRefused(file, "belongs to another user");
    ASSERT_EQ(::chown(inFolder.c_str(), otherUser, otherUser), 0);
    expectRefused(path("in/new.log"), "folder 'in' belongs to another user");
    expectRefused(path("in/own/all.log"), "folder 'in' belongs to another user");
}

TEST_F(UnsafeLogFile, isNotWrittenToWhenItReplacesAFullOne)
{
    ASSERT_TRUE(logTo(file, path("errors.log"), true, 1));
    std::filesystem::remove(file);
    std::filesystem::create_symlink(victim, file);
    ::testing::internal::CaptureStderr();
    log(Severity::Trace, std::string(1024, 'x'));
    EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("not a regular file"));
    EXPECT_EQ(contentOf(victim), "precious");
}

TEST_F(UnsafeLogFile, isReplacedAndNotFollowedWhenItHasTheNameOfTheOlderFile)
{
    std::filesystem::create_symlink(victim, file + ".1");
    ASSERT_TRUE(logTo(file, path("errors.log"), true, 1));
    log(Severity::Trace, std::string(1024, 'x'));
    EXPECT_EQ(contentOf(victim), "precious");
    EXPECT_THAT(contentOf(file + ".1"), HasSubstr("xxx"));
}

} // namespace
