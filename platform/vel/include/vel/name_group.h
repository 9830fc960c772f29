#pragma once

#include <string>
#include <utility>

namespace Tolvek::Orvan::Vel
{

/// What a VEL string calls its device.
class NameGroup
{
public:
    explicit NameGroup(std::string unit)
        : unit_{std::move(unit)}
    {
    }

    [[nodiscard]] const std::string& unit() const noexcept { return unit_; }

private:
    std::string unit_;
};

} // namespace Tolvek::Orvan::Vel
