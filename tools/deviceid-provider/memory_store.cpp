#include "memory_store.h"

#include "descriptor.h"
#include "size_limits.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <string_view>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>

namespace Tolvek::Orvan::DeviceId::Provider
{

namespace
{

constexpr char kZero = '\x00';
constexpr char kErased = '\xFF';
constexpr std::string_view kPadding{"\x00\xFF", 2};

/// At most this much is read beyond an identity, and rewritten around a byte that changes.
constexpr std::size_t kBlock = 64;

class Memory
{
public:
    Memory(std::string path, int flags)
        : path_{std::move(path)}
        , file_{openFile(path_, flags)}
    {
        struct stat status = {};
        if (fstat(file_.get(), &status) != 0)
            failWithErrno("inspect", path_);
        size_ = static_cast<std::size_t>(status.st_size);
        if (size_ == 0 || size_ > kMaxMemory)
            throw std::runtime_error{"'" + path_ + "' has " + std::to_string(size_) +
                                     " bytes: not a memory of fixed size"};
    }

    [[nodiscard]] std::size_t size() const noexcept { return size_; }

    [[nodiscard]] std::string all() const
    {
        std::string content = readAtMost(file_, path_, size_);
        if (content.size() != size_)
            throw std::runtime_error{"'" + path_ + "' ended after " + std::to_string(content.size()) + " of " +
                                     std::to_string(size_) + " bytes"};
        return content;
    }

    /// Up to the first padding, or one byte more than the limit.
    [[nodiscard]] std::string beginning(std::size_t limit) const
    {
        std::string content;
        while (content.size() <= limit)
        {
            std::array<char, kBlock> block{};
            const ssize_t count = pread(file_.get(), block.data(), block.size(), static_cast<off_t>(content.size()));
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0)
                failWithErrno("read", path_);
            const std::string_view read{block.data(), static_cast<std::size_t>(count)};
            const auto end = read.find_first_of(kPadding);
            content += read.substr(0, end);
            if (end != std::string_view::npos || read.empty())
                break;
        }
        return content;
    }

    void write(std::string_view bytes, std::size_t position) const
    {
        while (!bytes.empty())
        {
            const ssize_t count = pwrite(file_.get(), bytes.data(), bytes.size(), static_cast<off_t>(position));
            if (count < 0 && errno == EINTR)
                continue;
            if (count <= 0)
                failWithErrno("write", path_);
            bytes.remove_prefix(static_cast<std::size_t>(count));
            position += static_cast<std::size_t>(count);
        }
    }

    /// Drivers that write through at once know no flushing.
    void flush() const
    {
        if (fsync(file_.get()) != 0 && errno != EINVAL && errno != ENOTSUP)
            failWithErrno("flush", path_);
    }

private:
    std::string path_;
    Descriptor file_;
    std::size_t size_ = 0;
};

void writeChangedBlocks(const Memory& memory, std::string_view before, std::string_view after)
{
    for (std::size_t position = 0; position < after.size(); position += kBlock)
    {
        const auto block = after.substr(position, kBlock);
        if (block != before.substr(position, kBlock))
            memory.write(block, position);
    }
}

} // namespace

bool isKernelMemory(const std::string& path) noexcept
{
    struct statfs status = {};
    return statfs(path.c_str(), &status) == 0 && status.f_type == SYSFS_MAGIC;
}

std::string readMemory(const std::string& path)
{
    std::string content = Memory{path, O_RDONLY}.beginning(kMaxIdentity);
    if (content.empty())
        throw std::runtime_error{"the memory '" + path + "' is empty"};
    if (content.size() > kMaxIdentity)
        throw std::runtime_error{"'" + path + "' is larger than an identity may be"};
    return content;
}

void writeMemory(const std::string& path, const std::string& content)
{
    const Memory memory{path, O_RDWR};
    if (content.size() > memory.size())
        throw std::runtime_error{"the identity has " + std::to_string(content.size()) + " bytes, the memory '" + path +
                                 "' " + std::to_string(memory.size())};
    if (content.empty() || content.find_first_of(kPadding) != std::string::npos)
        throw std::runtime_error{"the identity is empty or has bytes 0x00 or 0xFF, which a memory is padded with"};

    std::string before = memory.all();
    const char padding = before.back() == kZero ? kZero : kErased;
    std::string after = content;
    after.resize(memory.size(), padding);
    if (before == after)
        return;

    memory.write({&padding, 1}, 0);
    memory.flush();
    before[0] = padding;
    const char first = std::exchange(after[0], padding);
    writeChangedBlocks(memory, before, after);
    memory.flush();
    after[0] = first;
    memory.write({&first, 1}, 0);
    memory.flush();
    if (memory.all() != after)
        throw std::runtime_error{"the memory '" + path + "' holds something else than was written to it"};
}

} // namespace Tolvek::Orvan::DeviceId::Provider
