#pragma once

#include <array>
#include <cstddef>
#include <new>
#include <utility>

namespace Tolvek::Orvan::Log
{

/// Holds an object that is never destroyed: other libraries log from the destructors of their static objects, which may
/// run after those of this library.
template <typename T>
class NoDestructor
{
public:
    template <typename... Args>
    explicit NoDestructor(Args&&... args)
    {
        new (&storage_) T(std::forward<Args>(args)...); // NOLINT(cppcoreguidelines-owning-memory): see above
    }

    ~NoDestructor() = default;
    NoDestructor(const NoDestructor&) = delete;
    NoDestructor(NoDestructor&&) = delete;
    NoDestructor& operator=(const NoDestructor&) = delete;
    NoDestructor& operator=(NoDestructor&&) = delete;

    T& get() noexcept { return *std::launder(static_cast<T*>(static_cast<void*>(&storage_))); }

private:
    alignas(T) std::array<std::byte, sizeof(T)> storage_{};
};

} // namespace Tolvek::Orvan::Log
