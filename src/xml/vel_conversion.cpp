#include <deviceid/vel_conversion.h>

#include "xml/document.h"
#include "xml/document_writer.h"
#include "xml/expansion.h"
#include "xml/limits.h"
#include "xml/namespaces.h"
#include "xml/vel_date.h"
#include "xml/xpath.h"

#include <logger/logger.h>
#include <vel/vel.h>

#include <libxml/xmlversion.h>

#include <array>
#include <optional>
#include <stdexcept>
#include <utility>

namespace Tolvek::Orvan::DeviceId
{

namespace
{

/// What a document is made from.
struct Source
{
    const Vel::Vel& vel;
    const std::string& text;
};

/// One step of writing a document: a negative result is a failure, logged and thrown with the texts beside it.
struct Step
{
    int (*write)(DocumentWriter&, const Source&);
    const char* logLine;
    const char* failure;
};

int writeDate(DocumentWriter& document, const Vel::Date& date)
{
    const std::string text = velDateToXML(date);
    return text.empty() ? -1 : document.writeAttribute("when", text);
}

/// The log lines are fixed texts that people search logs for: they name the calls as they have always been named.
constexpr std::array documentSteps{
    Step{[](DocumentWriter& document, const Source&) { return document.startDocument(); },
         "deviceIDXMLFromVEL: xmlTextWriterStartDocument(xml, nullptr, nullptr, nullptr) failed",
         "Could not start document"},
    Step{[](DocumentWriter& document, const Source&)
         { return document.startElement("d", "deviceid", commonNamespace); },
         "deviceIDXMLFromVEL: xmlTextWriterStartElementNS(xml, devPrefix, deviceid, devNS) failed",
         "Could not start deviceid element"},
    Step{[](DocumentWriter& document, const Source& source)
         { return document.writeAttribute("partNo", source.vel.production()->productID()); },
         "deviceIDXMLFromVEL: xmlTextWriterWriteAttribute(xml, partNo, "
         "STR_TO_XMLCHAR(velObj.production()->productID())) failed",
         "Could not write partNo attribute"},
    Step{[](DocumentWriter& document, const Source& source)
         { return document.writeAttribute("serialNo", source.vel.production()->serialNumber()); },
         "deviceIDXMLFromVEL: xmlTextWriterWriteAttribute(xml, "
         "serialNo,STR_TO_XMLCHAR(velObj.production()->serialNumber())) failed",
         "Could not write serialNo attribute"},
    Step{[](DocumentWriter& document, const Source& source)
         { return document.writeAttribute("name", source.vel.name()->unit()); },
         "deviceIDXMLFromVEL: xmlTextWriterWriteAttribute(xml, name, STR_TO_XMLCHAR(velObj.name()->unit())) failed",
         "Could not write name attribute"},
    Step{[](DocumentWriter& document, const Source&)
         { return document.startElement("d", "production", commonNamespace); },
         "deviceIDXMLFromVEL: xmlTextWriterStartElementNS(xml, devPrefix, production, devNS) failed",
         "Could not start production element"},
    Step{[](DocumentWriter& document, const Source& source)
         { return document.writeAttribute("location", source.vel.production()->location()); },
         "deviceIDXMLFromVEL: xmlTextWriterWriteAttribute(xml, location, "
         "STR_TO_XMLCHAR(velObj.production()->location())) failed",
         "Could not write location attribute"},
    Step{[](DocumentWriter& document, const Source& source)
         { return writeDate(document, source.vel.production()->date()); },
         "deviceIDXMLFromVEL: xmlTextWriterWriteAttribute(xml, when, "
         "STR_TO_XMLCHAR(velDateToXML(velObj.production()->date()))) failed",
         "Could not write date attribute"},
    Step{[](DocumentWriter& document, const Source&) { return document.endElement(); },
         "deviceIDXMLFromVEL: xmlTextWriterEndElement(xml) failed", "Could not close production element"},
    Step{[](DocumentWriter& document, const Source&) { return document.startElement("qnet", "ecl", qnetNamespace); },
         "deviceIDXMLFromVEL: xmlTextWriterStartElementNS(xml, qnet, ecl, qnetNS) failed",
         "Could not start qnet:ecl element"},
    Step{[](DocumentWriter& document, const Source& source)
         { return document.writeAttribute("major", std::to_string(source.vel.production()->ecl().major())); },
         "deviceIDXMLFromVEL: xmlTextWriterWriteAttribute(xml, major, "
         "SIZET_TO_XMLCHAR(velObj.production()->ecl().major())) failed",
         "Could not ecl major attribute"},
    Step{[](DocumentWriter& document, const Source& source)
         { return document.writeAttribute("minor", std::to_string(source.vel.production()->ecl().minor())); },
         "deviceIDXMLFromVEL: xmlTextWriterWriteAttribute(xml, minor, "
         "SIZET_TO_XMLCHAR(velObj.production()->ecl().minor())) failed",
         "Could not ecl minor attribute"},
    Step{[](DocumentWriter& document, const Source&) { return document.endElement(); },
         "deviceIDXMLFromVEL: xmlTextWriterEndElement(xml) failed", "Could not close qnet:ecl element"},
    Step{[](DocumentWriter& document, const Source&)
         { return document.startElement("qnet", "velType", qnetNamespace); },
         "deviceIDXMLFromVEL: xmlTextWriterStartElementNS(xml, qnet, velType, qnetNS) failed",
         "Could not start qnet:velType"},
    Step{[](DocumentWriter& document, const Source& source)
         { return document.writeText(source.vel.start()->velType()); },
         "deviceIDXMLFromVEL: xmlTextWriterWriteString(xml, STR_TO_XMLCHAR(velObj.start()->velType())) failed",
         "Could not write qnet:velType value"},
    Step{[](DocumentWriter& document, const Source&) { return document.endElement(); },
         "deviceIDXMLFromVEL: xmlTextWriterEndElement(xml) failed", "Could not close qnet:velType"},
    Step{[](DocumentWriter& document, const Source&) { return document.startElement("qnet", "vel", qnetNamespace); },
         "deviceIDXMLFromVEL: xmlTextWriterStartElementNS(xml, qnet, vel, qnetNS) failed", "Could not start qnet:vel"},
    Step{[](DocumentWriter& document, const Source& source) { return document.writeText(source.text); },
         "deviceIDXMLFromVEL: xmlTextWriterWriteString(xml, STR_TO_XMLCHAR(velStr)) failed",
         "Could not write qnet:vel value"},
    Step{[](DocumentWriter& document, const Source&) { return document.endElement(); },
         "deviceIDXMLFromVEL: xmlTextWriterEndElement(xml) failed", "Could not close qnet:vel"},
    Step{[](DocumentWriter& document, const Source&) { return document.endDocument(); },
         "deviceIDXMLFromVEL: xmlTextWriterEndDocument(xml) failed", "Could not end document"},
};

void run(const Step& step, DocumentWriter& document, const Source& source)
{
    if (step.write(document, source) >= 0)
        return;
    Log::orvanDoLog(Log::Severity::Error, step.logLine, {});
    if (!document.problem().empty())
        Log::orvanDoLog(Log::Severity::Error, "deviceIDXMLFromVEL: %s", {}, document.problem());
    throw std::runtime_error(step.failure);
}

/// What this library writes, it must be able to read.
void requireReadableSize(std::size_t size)
{
    if (size <= Limits::documentSize)
        return;
    Log::orvanDoLog(Log::Severity::Error,
                    "deviceIDXMLFromVEL: the document has %lu bytes, at most %lu can be read back", {}, size,
                    Limits::documentSize);
    throw std::runtime_error("Could not write qnet:vel value");
}

XPathResult findVel(xmlXPathContextPtr context)
{
    XPathResult result{xmlXPathEval(toXml("/d:deviceid/qnet:vel"), context)};
    if (!result)
        throw std::runtime_error("Invalid XPath expression when looking for VEL in DeviceID XML");
    if (result->type != XPATH_NODESET)
        throw std::runtime_error("path evaluation returned unexpected type");
    return result;
}

const xmlNode* onlyNode(const xmlNodeSet* nodes)
{
    if (nodes == nullptr || nodes->nodeNr == 0 || nodes->nodeTab == nullptr)
        throw std::runtime_error("No VEL found in the DeviceID XML");
    if (nodes->nodeNr > 1)
        throw std::runtime_error("Malformed DeviceID XML: more than one VEL found");
    return nodes->nodeTab[0];
}

} // namespace

std::string velToDeviceIdXml(const std::string& velStr)
{
    const Vel::Vel vel = Vel::Vel::parse(velStr);
    xmlCheckVersion(LIBXML_VERSION);
    // The document holds all of it: there is no need to write hundreds of megabytes to find that out.
    requireReadableSize(velStr.size());
    DocumentWriter document;
    for (const Step& step : documentSteps)
        run(step, document, {vel, velStr});
    std::string xml = document.finish();
    requireReadableSize(xml.size());
    return xml;
}

std::string extractVelFromDeviceIdXml(const std::string& xml)
{
    const Document document{xml};
    const XPathContext context = makeXPathContext<std::runtime_error>(document);
    if (!bindPrefix(context.get(), "qnet", qnetNamespace))
        throw std::runtime_error("Failed to register QNET namespace");

    const XPathResult result = findVel(context.get());
    const xmlNode* const node = onlyNode(result->nodesetval);
    std::optional<std::string> text = ownTextOf(node);
    // An element without text gives no string at all. Taken for an empty one, it would wipe what a device has stored.
    if (!text)
        throw std::runtime_error("No VEL found in the DeviceID XML");
    return *std::move(text);
}

} // namespace Tolvek::Orvan::DeviceId
