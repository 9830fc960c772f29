#include "xml/parser_messages.h"

#include "xml/limits.h"

#include <libxml/globals.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace Tolvek::Orvan::DeviceId
{

namespace
{

const char* originOf(const xmlError& error)
{
    switch (error.domain)
    {
    case XML_FROM_PARSER:
        return "parser ";
    case XML_FROM_NAMESPACE:
        return "namespace ";
    case XML_FROM_DTD:
    case XML_FROM_VALID:
        return "validity ";
    default:
        return "";
    }
}

/// Messages quote the document: nothing of it may end the line or drive a terminal.
std::string printable(std::string_view message)
{
    std::string text{message.substr(0, message.find_last_not_of('\n') + 1).substr(0, Limits::messageLength)};
    const auto isUnprintable = [](char byte) { return byte < ' ' || byte > '~'; };
    std::replace_if(text.begin(), text.end(), isUnprintable, '?');
    return text;
}

} // namespace

void ParserMessages::report(const xmlError& error)
{
    if (reported_ >= Limits::messages)
        return;
    ++reported_;
    const std::string text = printable(error.message != nullptr ? error.message : "out of memory error");
    xmlGenericError(xmlGenericErrorContext, "Entity: line %d: %s%s : %s\n", error.line, originOf(error),
                    error.level == XML_ERR_WARNING ? "warning" : "error", text.c_str());
    if (reported_ == Limits::messages)
        xmlGenericError(xmlGenericErrorContext, "Entity: further messages about this document are left out\n");
}

} // namespace Tolvek::Orvan::DeviceId
