#pragma once

#include <vel/date.h>
#include <vel/version.h>

#include <string>
#include <utility>

namespace Tolvek::Orvan::Vel
{

/// What a VEL string says about the making of its device.
class ProductionGroup
{
public:
    ProductionGroup(std::string productID, std::string serialNumber, std::string location, Date date, Version ecl)
        : productID_{std::move(productID)}
        , serialNumber_{std::move(serialNumber)}
        , location_{std::move(location)}
        , date_{date}
        , ecl_{ecl}
    {
    }

    [[nodiscard]] const std::string& productID() const noexcept { return productID_; }
    [[nodiscard]] const std::string& serialNumber() const noexcept { return serialNumber_; }
    [[nodiscard]] const std::string& location() const noexcept { return location_; }
    [[nodiscard]] Date date() const noexcept { return date_; }
    [[nodiscard]] Version ecl() const noexcept { return ecl_; }

private:
    std::string productID_;
    std::string serialNumber_;
    std::string location_;
    Date date_;
    Version ecl_;
};

} // namespace Tolvek::Orvan::Vel
