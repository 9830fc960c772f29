#pragma once

#include <deviceid/info.h>
#include <deviceid/vel_conversion.h>

#include <cstddef>
#include <stdexcept>
#include <string>

namespace Tests
{

const std::string commonNamespace = "http://www.tolvek.com/deviceid/common";
const std::string qnetNamespace = "http://www.tolvek.com/deviceid/quennet";

/// A document that both readers accept, with these texts in it. The root's name for the DTD is `d:deviceid`.
inline std::string identity(const std::string& vel, const std::string& dtd = {}, const std::string& partNumber = "1")
{
    return (dtd.empty() ? std::string{} : "<!DOCTYPE d:deviceid [" + dtd + "]>") + "<d:deviceid xmlns:d='" +
           commonNamespace + "' xmlns:q='" + qnetNamespace + "' partNo='" + partNumber +
           "' serialNo='2' name='3'><d:production location='4' when='2021-03-05T00:00:00'/><q:vel>" + vel +
           "</q:vel></d:deviceid>";
}

/// What reading or writing a text gives: the result or the failure, "refused" for what is no document within limits.
template <typename Convert>
std::string outcomeOf(Convert convert)
{
    try
    {
        return convert();
    }
    catch (const std::exception& error)
    {
        const bool isRefused = dynamic_cast<const std::invalid_argument*>(&error) != nullptr &&
                               std::string{error.what()} == "Invalid Device ID XML";
        return isRefused ? "refused" : error.what();
    }
}

inline std::string velIn(const std::string& xml)
{
    return outcomeOf([&] { return Tolvek::Orvan::DeviceId::extractVelFromDeviceIdXml(xml); });
}

inline std::string partNumberIn(const std::string& xml)
{
    return outcomeOf([&] { return Tolvek::Orvan::DeviceId::Info::parse(xml).partNumber(); });
}

inline std::string repeated(std::size_t count, const std::string& text)
{
    std::string result;
    for (std::size_t i = 0; i < count; ++i)
        result += text;
    return result;
}

} // namespace Tests
