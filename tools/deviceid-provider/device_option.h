#pragma once

#include "configuration.h"

#include <string>
#include <string_view>

namespace Tolvek::Orvan::DeviceId::Provider
{

/// The settings of a device as the command line gives them: "id=probe,path=/srv/probe.xml,form=xml,read-only". A key
/// without a value is true; a backslash makes the next character plain, for one a comma.
/// \param place what the places are named after
DeviceSection parseDevice(std::string_view text, const std::string& place);

} // namespace Tolvek::Orvan::DeviceId::Provider
