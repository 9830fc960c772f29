#pragma once

#include <unistd.h>

#include <utility>

namespace Tolvek::Orvan::Log
{

/// Owns one file descriptor.
class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int descriptor) noexcept
        : descriptor_{descriptor}
    {
    }

    Descriptor(Descriptor&& other) noexcept
        : descriptor_{std::exchange(other.descriptor_, none)}
    {
    }

    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }

    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    ~Descriptor()
    {
        if (isOpen())
            ::close(descriptor_);
    }

    [[nodiscard]] bool isOpen() const noexcept { return descriptor_ >= 0; }
    [[nodiscard]] int get() const noexcept { return descriptor_; }

private:
    static constexpr int none = -1;
    int descriptor_ = none;
};

} // namespace Tolvek::Orvan::Log
