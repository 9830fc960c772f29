#include "rotating_file.h"

#include "file_error.h"
#include "log_file.h"
#include "output.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>

namespace Tolvek::Orvan::Log
{

RotatingFile::RotatingFile(const std::string& path, bool append, std::uint64_t fullSize)
    : path_{path}
    , location_{openLogFolder(path)}
    , file_{openLogFile(location_)}
    , fullSize_{fullSize}
{
    // Emptied only now that it is known to be ours.
    if (!append && ::ftruncate(file_.get(), 0) != 0)
        throwSystemError("cannot empty it");
    beginAnewIfFull();
}

void RotatingFile::write(std::string_view line)
{
    append(line);
    if (statusOf(file_).st_nlink == 0)
    {
        // Who cleans /tmp may have taken the folder along.
        location_ = openLogFolder(path_);
        file_ = openLogFile(location_);
        append(line);
    }
    beginAnewIfFull();
}

void RotatingFile::append(std::string_view line)
{
    errno = writeAll(file_.get(), line);
    if (errno != 0)
        throwSystemError("cannot write to it");
}

void RotatingFile::beginAnewIfFull()
{
    if (fullSize_ == 0 || static_cast<std::uint64_t>(statusOf(file_).st_size) < fullSize_)
        return;
    renameUnlessDone();
    file_ = openLogFile(location_);
}

void RotatingFile::renameUnlessDone()
{
    struct stat named = {};
    if (::fstatat(location_.folder.get(), location_.name.c_str(), &named, AT_SYMLINK_NOFOLLOW) != 0)
        return;
    const auto own = statusOf(file_);
    if (own.st_dev != named.st_dev || own.st_ino != named.st_ino)
        return;
    const auto oldName = location_.name + ".1";
    if (::renameat(location_.folder.get(), location_.name.c_str(), location_.folder.get(), oldName.c_str()) != 0)
        throwSystemError("cannot rename it to '" + oldName + "'");
}

} // namespace Tolvek::Orvan::Log
