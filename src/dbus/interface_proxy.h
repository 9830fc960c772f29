#pragma once

// The form that sdbus-c++-xml2cpp gives com.tolvek.orvan.deviceid.interface.xml.

#include <sdbus-c++/sdbus-c++.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

namespace com::tolvek::orvan::deviceid
{

/// Turns operations into method calls to one object; each throws sdbus::Error when its call fails.
class interface_proxy // NOLINT(readability-identifier-naming): the generator's name
{
public:
    // NOLINTNEXTLINE(readability-identifier-naming): the generator's name
    static constexpr const char* INTERFACE_NAME = "com.tolvek.orvan.deviceid.interface";

    interface_proxy(const interface_proxy&) = delete;
    interface_proxy(interface_proxy&&) = delete;
    interface_proxy& operator=(const interface_proxy&) = delete;
    interface_proxy& operator=(interface_proxy&&) = delete;

protected:
    explicit interface_proxy(sdbus::IProxy& proxy)
        : proxy_(proxy)
    {
    }

    ~interface_proxy() = default;

public:
    std::vector<std::string> deviceList()
    {
        std::vector<std::string> result;
        proxy_.callMethod("deviceList").onInterface(INTERFACE_NAME).storeResultsTo(result);
        return result;
    }

    std::tuple<std::int32_t, std::string, bool> deviceId(const std::string& name)
    {
        std::tuple<std::int32_t, std::string, bool> result;
        proxy_.callMethod("deviceId").onInterface(INTERFACE_NAME).withArguments(name).storeResultsTo(result);
        return result;
    }

    std::int32_t setDeviceId(const std::string& name, const std::string& xml)
    {
        std::int32_t result = 0;
        proxy_.callMethod("setDeviceId").onInterface(INTERFACE_NAME).withArguments(name, xml).storeResultsTo(result);
        return result;
    }

private:
    sdbus::IProxy& proxy_;
};

} // namespace com::tolvek::orvan::deviceid
