/// Both readers of foreign device-ID XML: whatever the bytes, a value within bounds or one of the documented failures.
#include "input.h"

#include <deviceid/info.h>
#include <deviceid/vel_conversion.h>
#include <logger/configuration.h>

#include <libxml/xmlerror.h>

#include <stdexcept>

using Tolvek::Orvan::DeviceId::extractVelFromDeviceIdXml;
using Tolvek::Orvan::DeviceId::Info;

namespace
{

constexpr std::size_t longestText = std::size_t{1024} * 1024;
constexpr std::size_t mostPrinted = 64;

// What libxml2 prints is counted instead of printed.
std::size_t printed = 0;

void count(void* /*context*/, const char* /*format*/, ...) // NOLINT(cert-dcl50-cpp): libxml2's interface
{
    ++printed;
}

template <typename Failure, typename Read>
void readOnce(Read read)
{
    printed = 0;
    try
    {
        Fuzz::require(read() <= longestText, "a text is as long as a value may be");
    }
    catch (const Failure&) // NOLINT(bugprone-empty-catch): most inputs are refused
    {
    }
    Fuzz::require(printed <= mostPrinted, "little is printed about one document");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*arguments*/)
{
    Tolvek::Orvan::Log::Configuration::setSink(Tolvek::Orvan::Log::Severity::Error, [](const auto& /*record*/) {});
    xmlSetGenericErrorFunc(nullptr, count);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string xml{Fuzz::textOf(data, size)};
    readOnce<std::invalid_argument>([&] { return Info::parse(xml).partNumber().size(); });
    readOnce<std::exception>([&] { return extractVelFromDeviceIdXml(xml).size(); });
    return 0;
}
