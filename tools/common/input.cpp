#include "common/input.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace Tolvek::Orvan::DeviceId::Tools
{

namespace
{

[[noreturn]] void fail(const std::string& file, const std::string& reason)
{
    throw UnreadableInput{"cannot read " + inputName(file) + ": " + reason};
}

/// Standard input is only borrowed.
class InputDescriptor
{
public:
    explicit InputDescriptor(const std::string& file)
        : isBorrowed_{file == "-"}
        , descriptor_{isBorrowed_ ? STDIN_FILENO : open(file.c_str(), O_RDONLY | O_CLOEXEC)} // NOLINT(*-vararg)
    {
        if (descriptor_ < 0)
            fail(file, std::strerror(errno));
    }
    ~InputDescriptor()
    {
        if (!isBorrowed_)
            close(descriptor_);
    }
    InputDescriptor(const InputDescriptor&) = delete;
    InputDescriptor(InputDescriptor&&) = delete;
    InputDescriptor& operator=(const InputDescriptor&) = delete;
    InputDescriptor& operator=(InputDescriptor&&) = delete;

    [[nodiscard]] int get() const noexcept { return descriptor_; }

private:
    bool isBorrowed_;
    int descriptor_;
};

} // namespace

std::string inputName(const std::string& file)
{
    return file == "-" ? "standard input" : file;
}

std::string readInput(const std::string& file, std::size_t limit)
{
    const InputDescriptor input{file};
    constexpr std::size_t kChunk = 16384;
    std::array<char, kChunk> chunk{};
    std::string content;
    for (;;)
    {
        const auto count = read(input.get(), chunk.data(), chunk.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            fail(file, std::strerror(errno));
        if (count == 0)
            return content;
        content.append(chunk.data(), static_cast<std::size_t>(count));
        if (content.size() > limit)
            fail(file, "it has more than " + std::to_string(limit) + " bytes");
    }
}

} // namespace Tolvek::Orvan::DeviceId::Tools
