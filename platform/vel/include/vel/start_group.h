#pragma once

#include <string>
#include <utility>

namespace Tolvek::Orvan::Vel
{

/// What a VEL string begins with: the type of its device.
class StartGroup
{
public:
    explicit StartGroup(std::string velType)
        : velType_{std::move(velType)}
    {
    }

    [[nodiscard]] const std::string& velType() const noexcept { return velType_; }

private:
    std::string velType_;
};

} // namespace Tolvek::Orvan::Vel
