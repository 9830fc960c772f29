#include "xml/xpath.h"

#include "xml/expansion.h"

#include <libxml/xpathInternals.h>

#include <logger/logger.h>

#include <optional>
#include <stdexcept>

namespace Tolvek::Orvan::DeviceId
{

namespace
{

using Log::orvanDoLog;
using Log::Severity;

std::optional<std::string> evaluate(xmlXPathContextPtr context, const std::string& expression)
{
    const XPathResult result{xmlXPathEvalExpression(toXml(expression.c_str()), context)};
    if (!result)
    {
        orvanDoLog(Severity::Error, "Parsing device ID XML: invalid XPath expression: %s", {}, expression);
        return std::nullopt;
    }
    if (result->type != XPATH_NODESET)
    {
        orvanDoLog(Severity::Error, "Parsing device ID XML: xpath expression returned invalid type. XPath=%s", {},
                   expression);
        return std::nullopt;
    }
    const xmlNodeSet* const nodes = result->nodesetval;
    if (nodes == nullptr)
        return std::nullopt;
    if (nodes->nodeNr != 1)
    {
        orvanDoLog(Severity::Trace, "Parsing device ID XML: xpath expression %s returned %d nodes when 1 was expected",
                   {}, expression, nodes->nodeNr);
        return std::nullopt;
    }
    return contentOf(nodes->nodeTab[0]);
}

} // namespace

bool bindPrefix(xmlXPathContextPtr context, const char* prefix, const char* namespaceName)
{
    return xmlXPathRegisterNs(context, toXml(prefix), toXml(namespaceName)) == 0;
}

std::string getNodeString(xmlXPathContextPtr context, const std::vector<std::string>& alternatives)
{
    for (const auto& expression : alternatives)
    {
        if (auto text = evaluate(context, expression))
            return *std::move(text);
    }
    orvanDoLog(Severity::Error, "getNodeString: no value found for set of xpaths expression of which the first is %s",
               {}, alternatives.at(0));
    throw std::runtime_error("Internal error.");
}

} // namespace Tolvek::Orvan::DeviceId
