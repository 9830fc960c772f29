#pragma once

#include "log_capture.h"
#include "private_bus.h"
#include "process.h"

#include <busconnection/dbus/bus_type.h>

#include <sdbus-c++/sdbus-c++.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace Tests
{

constexpr auto kBusType = Tolvek::Orvan::Utils::BusConnection::Dbus::BusType::Session;
constexpr const char* kInterface = "com.tolvek.orvan.deviceid.interface";
constexpr const char* kObjectPath = "/com/tolvek/orvan/deviceid";

/// Sanitizers keep memory that has been freed, and an emulator all that it has translated.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(EMULATOR)
constexpr bool kKeepsMemory = true;
#else
constexpr bool kKeepsMemory = false;
#endif

/// A test with a message bus and a record of all log lines of its own.
class BusTest : public testing::Test
{
protected:
    PrivateBus& bus() { return bus_; }
    LogCapture& log() { return log_; }

    /// A peer that goes wrong in one way; it owns its name, or several of them, when this returns.
    static std::unique_ptr<Process> faultyPeer(const std::string& name, const std::string& fault, int argument = 0,
                                               int count = 0)
    {
        auto peer = std::make_unique<Process>(
            std::vector<std::string>{FAULTY_PEER, name, fault, std::to_string(argument), std::to_string(count)});
        peer->waitUntilReady();
        return peer;
    }

    /// A provider in a process of its own with devices as test_provider.cpp takes them.
    static std::unique_ptr<Process> provider(const std::string& serviceName, const std::vector<std::string>& devices)
    {
        std::vector<std::string> command{TEST_PROVIDER, serviceName};
        command.insert(command.end(), devices.begin(), devices.end());
        auto process = std::make_unique<Process>(command);
        process->waitUntilReady();
        return process;
    }

    /// The provider "com.tolvek.orvan.deviceid.<serviceName>" as the bare D-Bus library sees it.
    static std::unique_ptr<sdbus::IProxy> rawProvider(sdbus::IConnection& connection, const std::string& serviceName)
    {
        return sdbus::createProxy(connection, "com.tolvek.orvan.deviceid." + serviceName, kObjectPath);
    }

private:
    LogCapture log_;
    PrivateBus bus_;
};

} // namespace Tests
