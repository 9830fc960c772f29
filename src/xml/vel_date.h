#pragma once

#include <vel/date.h>

#include <string>

namespace Tolvek::Orvan::DeviceId
{

/// A date in the 19 characters that the document gives it ("2021-03-05T00:00:00"); empty if they do not suffice.
std::string velDateToXML(const Vel::Date& date);

} // namespace Tolvek::Orvan::DeviceId
