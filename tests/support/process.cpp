#include "process.h"

#include <array>
#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration): not declared under strict C++17

namespace Tests
{

namespace
{

[[noreturn]] void fail(int error, const std::string& what)
{
    throw std::system_error{error, std::generic_category(), what};
}

class SpawnActions
{
public:
    SpawnActions() { posix_spawn_file_actions_init(&actions_); }
    ~SpawnActions() { posix_spawn_file_actions_destroy(&actions_); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions(SpawnActions&&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;
    SpawnActions& operator=(SpawnActions&&) = delete;

    posix_spawn_file_actions_t* get() { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

} // namespace

long residentMiB(pid_t process)
{
    long total = 0;
    long resident = 0;
    std::ifstream{"/proc/" + std::to_string(process) + "/statm"} >> total >> resident;
    return resident * sysconf(_SC_PAGESIZE) / (1024L * 1024);
}

Process::Process(const std::vector<std::string>& command)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        fail(errno, "pipe");
    output_ = ends[0];

    SpawnActions actions;
    posix_spawn_file_actions_adddup2(actions.get(), ends[1], STDOUT_FILENO);
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const auto& word : command)
        arguments.push_back(const_cast<char*>(word.c_str())); // NOLINT(cppcoreguidelines-pro-type-const-cast)
    arguments.push_back(nullptr);
    const int error = posix_spawnp(&pid_, arguments.front(), actions.get(), nullptr, arguments.data(), environ);
    close(ends[1]);
    if (error != 0)
    {
        close(output_);
        fail(error, command.front());
    }
}

Process::~Process()
{
    if (!exitCode_)
    {
        signal(SIGKILL);
        wait();
    }
    close(output_);
}

std::string Process::readLine() const
{
    std::string line;
    for (char letter = 0;;)
    {
        const auto count = read(output_, &letter, 1);
        if (count < 0 && errno == EINTR)
            continue;
        if (count != 1)
            throw std::runtime_error{"The process ended without a line of output"};
        if (letter == '\n')
            return line;
        line += letter;
    }
}

void Process::signal(int number) const
{
    kill(pid_, number);
}

void Process::stop() const
{
    signal(SIGSTOP);
    while (waitpid(pid_, nullptr, WUNTRACED) < 0 && errno == EINTR)
    {
    }
}

int Process::wait()
{
    if (exitCode_)
        return *exitCode_;
    int status = 0;
    while (waitpid(pid_, &status, 0) < 0 && errno == EINTR)
    {
    }
    constexpr int kSignalBase = 128;
    exitCode_ = WIFEXITED(status) ? WEXITSTATUS(status) : kSignalBase + WTERMSIG(status);
    return *exitCode_;
}

} // namespace Tests
