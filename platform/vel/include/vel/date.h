#pragma once

namespace Tolvek::Orvan::Vel
{

/// A calendar date. All three numbers are 0 when a VEL string names no date.
class Date
{
public:
    Date() = default;
    Date(unsigned long year, unsigned long month, unsigned long day)
        : year_{year}
        , month_{month}
        , day_{day}
    {
    }

    [[nodiscard]] unsigned long year() const noexcept { return year_; }
    [[nodiscard]] unsigned long month() const noexcept { return month_; }
    [[nodiscard]] unsigned long day() const noexcept { return day_; }

private:
    unsigned long year_{0};
    unsigned long month_{0};
    unsigned long day_{0};
};

} // namespace Tolvek::Orvan::Vel
