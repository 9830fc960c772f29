#pragma once

#include <string>
#include <utility>

#include <unistd.h>

namespace Tolvek::Orvan::DeviceId::Provider
{

/// Owns a file descriptor.
class Descriptor
{
public:
    explicit Descriptor(int fd = -1) noexcept
        : fd_{fd}
    {
    }
    ~Descriptor() { close(); }
    Descriptor(Descriptor&& other) noexcept
        : fd_{std::exchange(other.fd_, -1)}
    {
    }
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        if (this != &other)
        {
            close();
            fd_ = std::exchange(other.fd_, -1);
        }
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] int get() const noexcept { return fd_; }
    [[nodiscard]] bool isOpen() const noexcept { return fd_ >= 0; }

private:
    void close() const noexcept
    {
        if (fd_ >= 0)
            ::close(fd_);
    }

    int fd_;
};

/// \throws std::runtime_error "cannot <doing> '<path>': <what errno says>"
[[noreturn]] void failWithErrno(const std::string& doing, const std::string& path);

/// Opens an ordinary file, or a file of the kernel that looks like one. Never waits, as a FIFO or a tape would.
/// \throws std::runtime_error if it cannot be opened or is something else
Descriptor openFile(const std::string& path, int flags);

/// What the file holds from its beginning, at most `limit` bytes.
std::string readAtMost(const Descriptor& file, const std::string& path, std::size_t limit);

} // namespace Tolvek::Orvan::DeviceId::Provider
