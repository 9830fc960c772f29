/// A VEL string made into a document comes back unchanged; a string that cannot is refused.
#include "input.h"

#include <deviceid/info.h>
#include <deviceid/vel_conversion.h>
#include <logger/configuration.h>
#include <vel/vel.h>

#include <algorithm>
#include <stdexcept>

using Tolvek::Orvan::DeviceId::extractVelFromDeviceIdXml;
using Tolvek::Orvan::DeviceId::Info;
using Tolvek::Orvan::DeviceId::velToDeviceIdXml;

namespace
{

/// Plain ASCII, and short: the document has each value at most twice, and a character becomes six bytes at most.
bool fitsIntoADocument(std::string_view text)
{
    constexpr std::size_t maxSize = 5000;
    return text.size() <= maxSize &&
           std::all_of(text.begin(), text.end(),
                       [](char byte)
                       { return (byte >= ' ' && byte <= '~') || byte == '\n' || byte == '\r' || byte == '\t'; });
}

std::string documentOf(const std::string& text)
{
    try
    {
        return velToDeviceIdXml(text);
    }
    catch (const std::invalid_argument&) // no VEL
    {
        return {};
    }
    catch (const std::runtime_error&)
    {
        Fuzz::require(!fitsIntoADocument(text), "only a VEL that no document can hold is refused");
        return {};
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*arguments*/)
{
    Tolvek::Orvan::Log::Configuration::setSink(Tolvek::Orvan::Log::Severity::Error, [](const auto& /*record*/) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text{Fuzz::textOf(data, size)};
    const std::string xml = documentOf(text);
    if (xml.empty())
        return 0;
    Fuzz::require(extractVelFromDeviceIdXml(xml) == text, "the VEL comes back");
    const Info info = Info::parse(xml);
    const auto vel = Tolvek::Orvan::Vel::Vel::parse(text);
    Fuzz::require(info.name() == vel.name()->unit(), "the name comes back");
    Fuzz::require(info.partNumber() == vel.production()->productID(), "the part number comes back");
    Fuzz::require(info.serialNumber() == vel.production()->serialNumber(), "the serial number comes back");
    Fuzz::require(info.producedAt() == vel.production()->location(), "the location comes back");
    return 0;
}
