#pragma once

// The form that sdbus-c++-xml2cpp gives com.tolvek.orvan.deviceid.interface.xml, with two additions at the boundary to
// the D-Bus library: handlers are registered through it, and results are made fit to travel.

#include <busconnection/dbus/handler_boundary.h>

#include <sdbus-c++/sdbus-c++.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

namespace com::tolvek::orvan::deviceid
{

/// Turns incoming method calls of one object into calls of virtual operations.
class interface_adaptor // NOLINT(readability-identifier-naming): the generator's name
{
public:
    // NOLINTNEXTLINE(readability-identifier-naming): the generator's name
    static constexpr const char* INTERFACE_NAME = "com.tolvek.orvan.deviceid.interface";

    interface_adaptor(const interface_adaptor&) = delete;
    interface_adaptor(interface_adaptor&&) = delete;
    interface_adaptor& operator=(const interface_adaptor&) = delete;
    interface_adaptor& operator=(interface_adaptor&&) = delete;

protected:
    explicit interface_adaptor(sdbus::IObject& object)
        : object_(object)
    {
        using Tolvek::Orvan::Utils::BusConnection::Dbus::carriable;
        Tolvek::Orvan::Utils::BusConnection::Dbus::HandlerBoundary boundary{object_};
        boundary.registerMethod("deviceList")
            .onInterface(INTERFACE_NAME)
            .withOutputParamNames("name")
            .implementedAs([this]() { return carriable(this->deviceList()); });
        boundary.registerMethod("deviceId")
            .onInterface(INTERFACE_NAME)
            .withInputParamNames("name")
            .withOutputParamNames("status", "xml", "isMain")
            .implementedAs([this](const std::string& name) { return carriable(this->deviceId(name)); });
        boundary.registerMethod("setDeviceId")
            .onInterface(INTERFACE_NAME)
            .withInputParamNames("name", "xml")
            .withOutputParamNames("status")
            .implementedAs([this](const std::string& name, const std::string& xml)
                           { return carriable(this->setDeviceId(name, xml)); });
    }

    ~interface_adaptor() = default;

private:
    virtual std::vector<std::string> deviceList() = 0;
    virtual std::tuple<std::int32_t, std::string, bool> deviceId(const std::string& name) = 0;
    virtual std::int32_t setDeviceId(const std::string& name, const std::string& xml) = 0;

    sdbus::IObject& object_;
};

} // namespace com::tolvek::orvan::deviceid
