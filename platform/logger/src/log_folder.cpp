#include "log_folder.h"

#include "file_error.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>
#include <vector>

// A log file of a privileged process has a name that everybody can guess. A path is therefore not handed to the system
// as a whole: each folder is opened from the one before, without following links, and checked while it is held open.
// What was checked is then what is used, whatever happens to the names meanwhile.

namespace Tolvek::Orvan::Log
{

namespace
{

constexpr mode_t newFolderMode = 0755;
constexpr int openFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

std::vector<std::string> componentsOf(std::string_view path)
{
    std::vector<std::string> components;
    for (std::size_t begin = 0; begin <= path.size();)
    {
        const auto end = std::min(path.find('/', begin), path.size());
        const auto component = path.substr(begin, end - begin);
        if (component == "..")
            throw std::runtime_error{"the path contains '..'"};
        if (!component.empty() && component != ".")
            components.emplace_back(component);
        begin = end + 1;
    }
    return components;
}

std::vector<std::string> checkedComponents(const std::string& path)
{
    if (path.empty() || path.front() != '/')
        throw std::runtime_error{"the path is not absolute"};
    if (path.find('\0') != std::string::npos)
        throw std::runtime_error{"the path contains a null character"};
    auto components = componentsOf(path);
    if (components.empty() || path.back() == '/')
        throw std::runtime_error{"the path names no file"};
    return components;
}

struct stat trustedStatus(const Descriptor& folder, const std::string& name)
{
    const auto status = statusOf(folder);
    if (!isTrustedOwner(status.st_uid))
        throw std::runtime_error{"the folder '" + name + "' belongs to another user"};
    return status;
}

/// Some distributions let a group of log daemons write to root's /var/log. That is accepted: such a group can already
/// do with the files there as it likes, and cannot use us to reach others, because links and files that belong to
/// somebody else are refused. In a folder of our own there is no reason to let a group in.
bool canOthersChange(const struct stat& status)
{
    const bool isGroupAccepted = status.st_uid == 0;
    return (status.st_mode & S_IWOTH) != 0 || ((status.st_mode & S_IWGRP) != 0 && !isGroupAccepted);
}

/// In a sticky folder such as /tmp nobody can replace what belongs to somebody else; what somebody has put there
/// beforehand shows by its owner.
void requireTrustedAncestor(const Descriptor& folder, const std::string& name)
{
    const auto status = trustedStatus(folder, name);
    if (canOthersChange(status) && (status.st_mode & S_ISVTX) == 0)
        throw std::runtime_error{"others can change the folder '" + name + "'"};
}

/// Sticky or not: here, others must not even put a file beforehand.
void requireTrustedLogFolder(const Descriptor& folder, const std::string& name)
{
    if (canOthersChange(trustedStatus(folder, name)))
        throw std::runtime_error{"others can write to the folder '" + name + "'"};
}

Descriptor openFolder(const Descriptor& parent, const std::string& name, int flags = openFlags)
{
    Descriptor folder{::openat(parent.get(), name.c_str(), flags)};
    if (!folder.isOpen() && (errno == ENOTDIR || errno == ELOOP))
        throw std::runtime_error{"'" + name + "' is no folder, or a link to one"};
    if (!folder.isOpen())
        throwSystemError("cannot open the folder '" + name + "'");
    return folder;
}

Descriptor openOrMakeFolder(const Descriptor& parent, const std::string& name)
{
    if (::mkdirat(parent.get(), name.c_str(), newFolderMode) != 0)
        return openFolder(parent, name);
    auto folder = openFolder(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    trustedStatus(folder, name);
    // The process's umask is made for its data, not for a folder that others must be able to look into.
    if (::fchmod(folder.get(), newFolderMode) != 0)
        throwSystemError("cannot set the mode of the folder '" + name + "'");
    return folder;
}

} // namespace

bool isTrustedOwner(unsigned owner) noexcept
{
    return owner == 0 || owner == ::geteuid();
}

LogLocation openLogFolder(const std::string& path)
{
    auto names = checkedComponents(path);
    auto fileName = std::move(names.back());
    names.pop_back();

    std::string name{"/"};
    Descriptor folder{::open("/", openFlags)};
    for (std::size_t index = 0; index != names.size(); ++index)
    {
        requireTrustedAncestor(folder, name);
        name = names[index];
        const bool isLast = index + 1 == names.size();
        folder = isLast ? openOrMakeFolder(folder, name) : openFolder(folder, name);
    }
    requireTrustedLogFolder(folder, name);
    return {std::move(folder), std::move(fileName)};
}

} // namespace Tolvek::Orvan::Log
