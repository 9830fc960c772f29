#include "deviceid-provider/file_store.h"
#include "deviceid-provider/memory_store.h"
#include "deviceid-provider/size_limits.h"

#include "support/private_bus.h"
#include "support/process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using namespace Tolvek::Orvan::DeviceId::Provider;
using testing::HasSubstr;
namespace fs = std::filesystem;

std::string contentOf(const fs::path& path)
{
    std::ostringstream content;
    content << std::ifstream{path, std::ios::binary}.rdbuf();
    return content.str();
}

std::string failureOf(const std::function<void()>& action)
{
    try
    {
        action();
        return "no failure";
    }
    catch (const std::runtime_error& error)
    {
        return error.what();
    }
}

class StoreTest : public testing::Test
{
protected:
    std::string make(const std::string& name, const std::string& content)
    {
        const auto path = folder() / name;
        std::ofstream{path, std::ios::binary} << content;
        return path.string();
    }

    [[nodiscard]] const fs::path& folder() const { return folder_.path(); }

    [[nodiscard]] std::vector<std::string> names() const
    {
        std::vector<std::string> all;
        for (const auto& entry : fs::directory_iterator{folder()})
            all.push_back(entry.path().filename());
        std::sort(all.begin(), all.end());
        return all;
    }

private:
    Tests::TemporaryFolder folder_;
};

/// Runs the action in a process of its own, which is killed where it enters or leaves its system call number `stops`.
/// \return whether the process had ended before
bool runAndKill(int stops, const std::function<void()>& action)
{
    const pid_t child = fork();
    if (child == 0)
    {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        (void)raise(SIGSTOP);
        action();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    for (int stop = 0; stop < stops && WIFSTOPPED(status); ++stop)
    {
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        waitpid(child, &status, 0);
    }
    const bool hasEnded = !WIFSTOPPED(status);
    if (!hasEnded)
    {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
    }
    return hasEnded;
}

TEST_F(StoreTest, aFileKeepsItsPermissionsAndOwnerAndSymbolicLinksStay)
{
    const auto file = make("file", "old");
    ASSERT_EQ(chmod(file.c_str(), 02640), 0);
    const bool isRoot = geteuid() == 0;
    const uid_t owner = isRoot ? 4711 : geteuid();
    const gid_t group = isRoot ? 815 : getegid();
    ASSERT_EQ(chown(file.c_str(), owner, group), 0);
    ASSERT_EQ(chmod(file.c_str(), 02640), 0);
    fs::create_directory(folder() / "links");
    fs::create_symlink("../file", folder() / "links/link");

    replaceIdentityFile(folder() / "links/link", "new");
    EXPECT_EQ(readIdentityFile(file), "new");
    struct stat status = {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 02640U);
    EXPECT_EQ(status.st_uid, owner);
    EXPECT_EQ(status.st_gid, group);
    EXPECT_TRUE(fs::is_symlink(folder() / "links/link"));
    EXPECT_EQ(names(), (std::vector<std::string>{"file", "links"}));

    replaceIdentityFile(folder() / "made", "first");
    EXPECT_EQ(contentOf(folder() / "made"), "first");
}

TEST_F(StoreTest, whatIsNoFileIsRefusedAndStaysAsItIs)
{
    fs::create_directory(folder() / "directory");
    ASSERT_EQ(mkfifo((folder() / "fifo").c_str(), 0600), 0);
    fs::create_symlink("nowhere", folder() / "dangling");
    const auto before = names();
    for (const auto* name : {"directory", "fifo", "dangling", "missing/"})
    {
        SCOPED_TRACE(name);
        const auto path = (folder() / name).string() + (*name == 'm' ? "file" : "");
        EXPECT_THAT(failureOf([&] { replaceIdentityFile(path, "new"); }), HasSubstr(name));
        EXPECT_THAT(failureOf([&] { readIdentityFile(path); }), HasSubstr(name));
        EXPECT_THAT(failureOf([&] { writeMemory(path, "new"); }), HasSubstr(name));
    }
    const auto large = make("large", std::string(kMaxIdentity + 1, 'x'));
    EXPECT_THAT(failureOf([&] { readIdentityFile(large); }), HasSubstr("larger than an identity"));
    EXPECT_THAT(failureOf([&] { readMemory(large); }), HasSubstr("larger than an identity"));
    fs::remove(large);
    EXPECT_EQ(names(), before);
}

TEST_F(StoreTest, aFileIsWholeWhereverTheWriterIsKilled)
{
    if (Tests::kIsEmulated)
        GTEST_SKIP() << "an emulated program cannot be traced";
    const std::string old(5000, 'o');
    const std::string fresh(9000, 'n');
    const auto file = make("file", old);
    int kills = 0;
    int afterTheChange = 0;
    while (!runAndKill(kills, [&] { replaceIdentityFile(file, fresh); }))
    {
        ++kills;
        const auto content = readIdentityFile(file);
        ASSERT_TRUE(content == old || content == fresh) << "killed at stop " << kills;
        afterTheChange += content == fresh ? 1 : 0;
        ASSERT_LE(names().size(), 2U) << "killed processes leave more and more";
        make("file", old);
        if (kills % 2 == 0)
            removeLeftOver(file);
    }
    // Opening, owner, permissions, writing, flushing and renaming are two stops each.
    EXPECT_GT(kills, 12);
    EXPECT_GT(afterTheChange, 0);
    EXPECT_EQ(readIdentityFile(file), fresh);
    EXPECT_EQ(names(), std::vector<std::string>{"file"});
}

TEST_F(StoreTest, aMemoryKeepsItsSizeAndItsPadding)
{
    for (const char padding : {'\x00', '\xFF'})
    {
        const std::string rest(200, padding);
        const auto memory = make("memory", "old" + rest);
        EXPECT_EQ(readMemory(memory), "old");
        for (const std::string& identity : {std::string(150, 'l'), std::string{"short"}})
        {
            writeMemory(memory, identity);
            std::string expected = identity;
            expected.resize(203, padding);
            EXPECT_EQ(contentOf(memory), expected);
            EXPECT_EQ(readMemory(memory), identity);
        }

        const auto before = contentOf(memory);
        EXPECT_THAT(failureOf([&] { writeMemory(memory, std::string(204, 'x')); }), HasSubstr("has 204 bytes"));
        EXPECT_THAT(failureOf([&] { writeMemory(memory, ""); }), HasSubstr("is empty"));
        EXPECT_THAT(failureOf([&] { writeMemory(memory, std::string{"a\xFF"}); }), HasSubstr("0xFF"));
        EXPECT_EQ(contentOf(memory), before);
        writeMemory(memory, std::string(203, 'f'));
        EXPECT_EQ(readMemory(memory), std::string(203, 'f'));
    }
    EXPECT_THAT(failureOf([&] { readMemory(make("erased", std::string(64, '\xFF'))); }), HasSubstr("is empty"));
    EXPECT_THAT(failureOf([&] { writeMemory(make("nothing", ""), "x"); }), HasSubstr("has 0 bytes"));
    EXPECT_THAT(failureOf([&] { writeMemory(folder() / "missing", "x"); }), HasSubstr("cannot open"));
    EXPECT_TRUE(isKernelMemory("/sys/kernel"));
    EXPECT_FALSE(isKernelMemory(folder()));
}

TEST_F(StoreTest, aMemoryNeverHoldsAMixtureWhereverTheWriterIsKilled)
{
    if (Tests::kIsEmulated)
        GTEST_SKIP() << "an emulated program cannot be traced";
    const std::string old(300, 'o');
    const std::string fresh(200, 'n');
    const auto memory = make("memory", old + std::string(100, '\xFF'));
    int kills = 0;
    while (!runAndKill(kills, [&] { writeMemory(memory, fresh); }))
    {
        ++kills;
        const auto failure = failureOf([&] { readMemory(memory); });
        ASSERT_TRUE(failure != "no failure" ? failure.find("is empty") != std::string::npos
                                            : readMemory(memory) == old || readMemory(memory) == fresh)
            << "killed at stop " << kills;
        make("memory", old + std::string(100, '\xFF'));
    }
    EXPECT_GT(kills, 12);
    EXPECT_EQ(readMemory(memory), fresh);
    EXPECT_EQ(contentOf(memory).size(), 400U);
}

} // namespace
