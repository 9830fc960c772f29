#include "xml/vel_date.h"

#include <cstdio>
#include <string_view>

namespace Tolvek::Orvan::DeviceId
{

std::string velDateToXML(const Vel::Date& date)
{
    constexpr std::string_view unsetDate = "0000-00-00T00:00:00";
    std::string text{unsetDate};
    // The terminating NUL lands on the one that the string keeps behind its characters.
    const int length = std::snprintf(text.data(), text.size() + 1, "%04lu-%02lu-%02luT00:00:00", date.year(),
                                     date.month(), date.day());
    const bool fits = length == static_cast<int>(unsetDate.size());
    return fits ? text : std::string{};
}

} // namespace Tolvek::Orvan::DeviceId
