#include <deviceid/info.h>

#include "xml/document.h"
#include "xml/production_time.h"
#include "xml/xpath.h"

#include <logger/logger.h>

#include <stdexcept>
#include <utility>

namespace Tolvek::Orvan::DeviceId
{

namespace
{

struct Fields
{
    std::string partNumber;
    std::string serialNumber;
    std::string name;
    std::string location;
    std::string when;
};

/// Attributes may be qualified or not, and a document may do without namespaces altogether.
Fields readFields(xmlXPathContextPtr context)
{
    const auto read = [context](const std::vector<std::string>& alternatives)
    { return getNodeString(context, alternatives); };
    Fields fields;
    fields.partNumber = read({"/d:deviceid/@d:partNo", "/d:deviceid/@partNo", "/deviceid/@partNo"});
    fields.serialNumber = read({"/d:deviceid/@d:serialNo", "/d:deviceid/@serialNo", "/deviceid/@serialNo"});
    fields.name = read({"/d:deviceid/@d:name", "/d:deviceid/@name", "/deviceid/@name"});
    fields.location = read({"/d:deviceid/d:production/@d:location", "/d:deviceid/d:production/@location",
                            "/deviceid/production/@location"});
    fields.when =
        read({"/d:deviceid/d:production/@d:when", "/d:deviceid/d:production/@when", "/deviceid/production/@when"});
    return fields;
}

Fields readDocument(const std::string& xml)
{
    const Document document{xml};
    const XPathContext context = makeXPathContext<std::invalid_argument>(document);
    try
    {
        return readFields(context.get());
    }
    catch (const std::exception& error)
    {
        Log::orvanDoLog(Log::Severity::Error, "Failed to parse device ID XMl. Error %s", {}, error.what());
        throw std::invalid_argument(error.what());
    }
}

} // namespace

Info::Info(std::string partNumber, std::string serialNumber, std::string name, std::string producedAt,
           std::chrono::system_clock::time_point producedOn)
    : partNumber_{std::move(partNumber)}
    , serialNumber_{std::move(serialNumber)}
    , name_{std::move(name)}
    , producedAt_{std::move(producedAt)}
    , producedOn_{producedOn}
{
}

Info Info::parse(const std::string& xml)
{
    Fields fields = readDocument(xml);
    const auto producedOn = parseProductionTime(fields.when);
    return {std::move(fields.partNumber), std::move(fields.serialNumber), std::move(fields.name),
            std::move(fields.location), producedOn};
}

std::string Info::partNumber() const
{
    return partNumber_;
}

std::string Info::serialNumber() const
{
    return serialNumber_;
}

std::string Info::name() const
{
    return name_;
}

std::string Info::producedAt() const
{
    return producedAt_;
}

std::chrono::system_clock::time_point Info::producedOn() const
{
    return producedOn_;
}

} // namespace Tolvek::Orvan::DeviceId
