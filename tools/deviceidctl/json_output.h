#pragma once

#include "devices.h"

#include <nlohmann/json.hpp>

#include <string>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

using Json = nlohmann::ordered_json;

/// A document with its format and version, to be filled in.
Json makeDocument(const char* format);

Json jsonOf(const Device& device);
Json jsonOf(const std::vector<LibraryLog::PassedOver>& passedOver);

/// For standard output, indented; and in one line.
/// \{
std::string jsonText(const Json& document);
std::string jsonLine(const Json& document);
/// \}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
