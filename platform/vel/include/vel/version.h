#pragma once

#include <cstddef>

namespace Tolvek::Orvan::Vel
{

/// A version of two numbers, both 0 when a VEL string names none.
///
/// The parentheses around the names keep this header readable behind <sys/sysmacros.h>, which makes function-like
/// macros of them; a caller that needs both headers writes `(version.major)()`.
class Version
{
public:
    Version() = default;
    Version(std::size_t majorNumber, std::size_t minorNumber)
        : major_{majorNumber}
        , minor_{minorNumber}
    {
    }

    [[nodiscard]] std::size_t(major)() const noexcept { return major_; }
    [[nodiscard]] std::size_t(minor)() const noexcept { return minor_; }

private:
    std::size_t major_{0};
    std::size_t minor_{0};
};

} // namespace Tolvek::Orvan::Vel
