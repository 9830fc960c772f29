#include "log_file.h"

#include "file_error.h"

#include <fcntl.h>

#include <cerrno>

namespace Tolvek::Orvan::Log
{

namespace
{

constexpr int openFlags = O_WRONLY | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
constexpr mode_t newFileMode = 0640;
constexpr int maxAttempts = 8;

void requireLogFile(const struct stat& status)
{
    if (!S_ISREG(status.st_mode))
        throw std::runtime_error{"it is not a regular file"};
    if (status.st_nlink > 1)
        throw std::runtime_error{"it has another name as well (hard link)"};
    if (!isTrustedOwner(status.st_uid))
        throw std::runtime_error{"it belongs to another user"};
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        throw std::runtime_error{"others can write to it"};
}

/// \return not open if there is no such file
Descriptor openExisting(const LogLocation& location)
{
    struct stat status = {};
    if (::fstatat(location.folder.get(), location.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0)
        requireLogFile(status); // first without opening: to open a device can have effects of its own
    Descriptor file{::openat(location.folder.get(), location.name.c_str(), openFlags)};
    if (file.isOpen())
        requireLogFile(statusOf(file));
    else if (errno != ENOENT)
        throwSystemError("cannot open it");
    return file;
}

} // namespace

Descriptor openLogFile(const LogLocation& location)
{
    // More than one attempt: another process may make, rename or remove the same file between the two steps.
    for (int attempt = 0; attempt != maxAttempts; ++attempt)
    {
        Descriptor made{
            ::openat(location.folder.get(), location.name.c_str(), openFlags | O_CREAT | O_EXCL, newFileMode)};
        if (made.isOpen())
            return made;
        if (errno != EEXIST)
            throwSystemError("cannot make it");
        if (auto existing = openExisting(location); existing.isOpen())
            return existing;
    }
    throw std::runtime_error{"it comes and goes"};
}

} // namespace Tolvek::Orvan::Log
