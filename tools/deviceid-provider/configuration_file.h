#pragma once

#include "configuration.h"

#include <string>
#include <string_view>
#include <vector>

namespace Tolvek::Orvan::DeviceId::Provider
{

/// The settings of a TOML text; what is no setting is added to the problems. `file` is what the places are named after.
GivenConfiguration parseConfiguration(std::string_view text, const std::string& file, std::vector<Problem>& problems);

/// The settings of a TOML file; that it cannot be read is a problem, too. The file's name without folder and ".toml" is
/// the service name unless it gives another.
GivenConfiguration readConfiguration(const std::string& file, std::vector<Problem>& problems);

} // namespace Tolvek::Orvan::DeviceId::Provider
