#include "descriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>

namespace Tolvek::Orvan::DeviceId::Provider
{

void failWithErrno(const std::string& doing, const std::string& path)
{
    throw std::runtime_error{"cannot " + doing + " '" + path + "': " + std::generic_category().message(errno)};
}

Descriptor openFile(const std::string& path, int flags)
{
    Descriptor file{open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK)};
    if (!file.isOpen())
        failWithErrno("open", path);
    struct stat status = {};
    if (fstat(file.get(), &status) != 0)
        failWithErrno("inspect", path);
    if (!S_ISREG(status.st_mode))
        throw std::runtime_error{"'" + path + "' is not a regular file"};
    return file;
}

std::string readAtMost(const Descriptor& file, const std::string& path, std::size_t limit)
{
    std::array<char, 4096> chunk{};
    std::string content;
    while (content.size() < limit)
    {
        const ssize_t count = pread(file.get(), chunk.data(), std::min(chunk.size(), limit - content.size()),
                                    static_cast<off_t>(content.size()));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            failWithErrno("read", path);
        if (count == 0)
            break;
        content.append(chunk.data(), static_cast<std::size_t>(count));
    }
    return content;
}

} // namespace Tolvek::Orvan::DeviceId::Provider
