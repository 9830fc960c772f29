#pragma once

#include "xml/xml_handles.h"

#include <optional>
#include <string>

namespace Tolvek::Orvan::DeviceId
{

/// The text of an attribute, or of an element (that of its children included), as `xmlNodeGetContent` gives it.
///
/// \throws std::invalid_argument if it is longer than a value may be
std::string contentOf(const xmlNode* node);

/// The text of an attribute or an element without that of its child elements, as `xmlNodeListGetString` gives it for
/// the list of its children; nothing if there is none.
///
/// \throws std::invalid_argument if it is longer than a value may be
std::optional<std::string> ownTextOf(const xmlNode* node);

} // namespace Tolvek::Orvan::DeviceId
