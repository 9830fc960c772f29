#pragma once

#include "xml/xml_handles.h"

#include <string>

namespace Tolvek::Orvan::DeviceId
{

/// Parses a document that anybody may have written; nothing if it is not well-formed or goes beyond a limit.
///
/// Ordinary documents give the tree that `xmlParseDoc` gives. A crafted one of a few hundred bytes would keep that
/// busy for ever or fill the memory, because entities that refer to entities multiply. No search of the bytes would
/// find these, an encoding can hide them; so the parser's own callbacks count, and end the parsing when a limit is
/// exceeded. The settings that libxml2 keeps for the whole process have no influence, and no file and no socket is
/// opened for the document's sake (only what the system's library needs for the encoding that the document names).
///
/// \param xml ends at its first NUL character
XmlDocument parseGuarded(const std::string& xml);

} // namespace Tolvek::Orvan::DeviceId
