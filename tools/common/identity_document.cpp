#include "common/identity_document.h"

#include "common/identity_scanner.h"
#include "common/text.h"

#include <deviceid/info.h>
#include <deviceid/vel_conversion.h>
#include <vel/vel.h>

#include <cstddef>

namespace Tolvek::Orvan::DeviceId::Tools
{

namespace
{

/// What the library reads at most.
constexpr std::size_t kLargestDocument = 65536;

std::string at(const std::string& source, const Position& position)
{
    return source + ":" + std::to_string(position.line) + ":" + std::to_string(position.column) + ": ";
}

std::string hexadecimalByte(char byte)
{
    constexpr std::string_view kDigits = "0123456789abcdef";
    const auto value = static_cast<unsigned char>(byte);
    return {'0', 'x', kDigits[value / kDigits.size()], kDigits[value % kDigits.size()]};
}

void requireCarriable(const std::string& text, const std::string& source)
{
    if (const auto position = findUnwritable(text))
        throw InvalidIdentity{source + ": byte " + std::to_string(*position) +
                              ": expected UTF-8 text without control characters, found " +
                              hexadecimalByte(text[*position])};
}

void requireSize(const std::string& text, const std::string& source)
{
    if (text.size() > kLargestDocument)
        throw InvalidIdentity{source + ": expected at most " + std::to_string(kLargestDocument) + " bytes, found " +
                              std::to_string(text.size())};
}

const std::string& requireAttribute(const ScannedDocument::Attribute& attribute, const char* name, const char* element,
                                    const Position& position, const std::string& source)
{
    if (const auto* const value = attribute.value())
        return *value;
    throw InvalidIdentity{at(source, position) + "field " + name + ": expected exactly one attribute \"" + name +
                          "\" in the element \"" + element + "\", found " +
                          (attribute.isRepeated() ? "several" : "none")};
}

void requireRoot(const ScannedDocument& document, const std::string& source)
{
    if (document.root != "deviceid")
        throw InvalidIdentity{at(source, document.rootPosition) + "expected the root element \"deviceid\", found \"" +
                              printable(document.root) + "\""};
    if (!document.isRootSpaceKnown)
        throw InvalidIdentity{at(source, document.rootPosition) +
                              "expected the root element in the namespace \"http://www.tolvek.com/deviceid/common\""};
}

void requireProduction(const ScannedDocument& document, const std::string& source)
{
    if (!document.productionPosition)
        throw InvalidIdentity{at(source, document.rootPosition) +
                              "fields location, when: expected an element \"production\" in \"deviceid\" and in the "
                              "same namespace, found none"};
}

/// All fields are there: the library has the last word, and its limits are the only reason left.
Info readInfo(const std::string& text, const ScannedDocument& document, const std::string& source)
{
    try
    {
        return Info::parse(text);
    }
    catch (const std::invalid_argument&)
    {
        const char* const reason =
            document.encoding.empty()
                ? "expected a document without an excess of declarations, references or attributes"
                : "expected the encoding UTF-8, or a document with fewer declarations and references";
        throw InvalidIdentity{at(source, document.rootPosition) + reason};
    }
}

Identity identityFrom(const std::string& text, const ScannedDocument& document, const std::string& source)
{
    const auto root = document.rootPosition;
    requireRoot(document, source);
    requireAttribute(document.partNumber, "partNo", "deviceid", root, source);
    requireAttribute(document.serialNumber, "serialNo", "deviceid", root, source);
    requireAttribute(document.name, "name", "deviceid", root, source);
    requireProduction(document, source);
    const auto production = *document.productionPosition;
    requireAttribute(document.location, "location", "production", production, source);

    Identity identity;
    identity.producedOn = requireAttribute(document.when, "when", "production", production, source);
    const Info info = readInfo(text, document, source);
    identity.partNumber = info.partNumber();
    identity.serialNumber = info.serialNumber();
    identity.name = info.name();
    identity.producedAt = info.producedAt();
    identity.velType = document.velType;
    if (document.eclMajor && document.eclMinor)
        identity.ecl = *document.eclMajor + "." + *document.eclMinor;
    identity.xml = text;
    return identity;
}

bool isDigit(char letter)
{
    return letter >= '0' && letter <= '9';
}

/// What every reader of the time understands; the time of day may be followed by an offset.
bool looksLikeTime(const std::string& when)
{
    constexpr std::string_view kPattern = "dddd-dd-ddTdd:dd:dd";
    if (when.size() < kPattern.size())
        return false;
    for (std::size_t i = 0; i < kPattern.size(); ++i)
    {
        if (kPattern[i] == 'd' ? !isDigit(when[i]) : when[i] != kPattern[i])
            return false;
    }
    return true;
}

void warnOfEncoding(Identity& identity, const ScannedDocument& document, const std::string& source)
{
    const auto& encoding = document.encoding;
    if (!encoding.empty() && encoding != "UTF-8" && encoding != "utf-8" && encoding != "US-ASCII")
        identity.warnings.push_back(source + ": expected the encoding UTF-8, found \"" + printable(encoding) + "\"");
}

/// Of a device that keeps a VEL string only that is stored: what the document says beside it would be lost.
void warnOfContradictions(Identity& identity, const Vel::Vel& vel, const std::string& source)
{
    const auto compare = [&](const char* field, const std::string& written, const std::string& stored)
    {
        if (written != stored)
            identity.warnings.push_back(source + ": field " + field + ": the document says \"" + printable(written) +
                                        "\", the VEL string in it \"" + printable(stored) + "\"");
    };
    compare("partNo", identity.partNumber, vel.production()->productID());
    compare("serialNo", identity.serialNumber, vel.production()->serialNumber());
    compare("name", identity.name, vel.name()->unit());
    compare("location", identity.producedAt, vel.production()->location());
}

void readVel(Identity& identity, const ScannedDocument& document, const std::string& source)
{
    if (document.vels == 0)
        return;
    try
    {
        identity.vel = extractVelFromDeviceIdXml(identity.xml);
        warnOfContradictions(identity, Vel::Vel::parse(*identity.vel), source);
    }
    catch (const std::exception& error)
    {
        identity.warnings.push_back(source + ": field vel: " + printable(error.what()));
    }
}

std::string withoutPrefix(const std::string& text, std::string_view prefix)
{
    return text.compare(0, prefix.size(), prefix) == 0 ? text.substr(prefix.size()) : text;
}

} // namespace

std::optional<Form> recogniseForm(std::string_view text)
{
    if (text.substr(0, 4) == "VEL/")
        return Form::Vel;
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark)
        text.remove_prefix(kByteOrderMark.size());
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first != std::string_view::npos && text[first] == '<')
        return Form::Xml;
    return std::nullopt;
}

std::string withoutLineEnd(std::string text)
{
    if (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}

Identity validateXml(const std::string& text, const std::string& source)
{
    requireSize(text, source);
    requireCarriable(text, source);
    ScannedDocument document;
    if (const auto error = scan(text, document))
        throw InvalidIdentity{at(source, error->position) + "expected well-formed XML: " + error->reason};
    Identity identity = identityFrom(text, document, source);
    warnOfEncoding(identity, document, source);
    if (!looksLikeTime(identity.producedOn))
        identity.warnings.push_back(at(source, *document.productionPosition) +
                                    "field when: expected YYYY-MM-DDThh:mm:ss, found \"" +
                                    printable(identity.producedOn) + "\"");
    readVel(identity, document, source);
    return identity;
}

Identity validateVel(const std::string& text, const std::string& source)
{
    requireSize(text, source);
    std::string xml;
    try
    {
        static_cast<void>(Vel::Vel::parse(text));
        requireCarriable(text, source);
        xml = velToDeviceIdXml(text);
    }
    catch (const std::invalid_argument& error)
    {
        throw InvalidIdentity{source + ": " + printable(withoutPrefix(error.what(), "Invalid VEL: "))};
    }
    catch (const InvalidIdentity&)
    {
        throw;
    }
    catch (const std::runtime_error& error)
    {
        throw InvalidIdentity{source + ": expected a VEL string that fits a document of " +
                              std::to_string(kLargestDocument) + " bytes: " + printable(error.what())};
    }
    Identity identity = validateXml(xml, source);
    if (text.find_first_of("\n\r\t") != std::string::npos)
        identity.warnings.push_back(source + ": expected one line of text, found a line end or tab within a value");
    return identity;
}

Identity validateIdentity(const std::string& text, Form form, const std::string& source)
{
    return form == Form::Vel ? validateVel(text, source) : validateXml(text, source);
}

} // namespace Tolvek::Orvan::DeviceId::Tools
