#pragma once

#include "support/bus_test.h"

#include <deviceid/client.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace Tests
{

/// A folder with the files of a provider that runs on a private bus.
class ProviderDaemonTest : public BusTest
{
protected:
    static constexpr const char* kIdPrefix = "com.tolvek.orvan.deviceid.gateway#";

    [[nodiscard]] std::string path(const std::string& name) const { return (folder_.path() / name).string(); }

    std::string make(const std::string& name, const std::string& content) const
    {
        std::ofstream{path(name), std::ios::binary} << content;
        return path(name);
    }

    [[nodiscard]] std::string contentOf(const std::string& name) const
    {
        std::ostringstream content;
        content << std::ifstream{path(name), std::ios::binary}.rdbuf();
        return content.str();
    }

    /// A configuration with the service name "gateway" and these tables; {} in them is the folder.
    std::string configure(std::string devices) const
    {
        for (auto at = devices.find("{}"); at != std::string::npos; at = devices.find("{}"))
            devices.replace(at, 2, folder_.path().string());
        return make("gateway.toml", "bus = 'session'\nlog = 'stderr'\n" + devices);
    }

    /// The program; its standard error goes to the file "errors".
    [[nodiscard]] std::unique_ptr<Process> run(const std::vector<std::string>& arguments) const
    {
        std::vector<std::string> command{"/bin/sh", "-c", "exec \"$@\" 2>>" + path("errors"), "sh", DEVICEID_PROVIDER};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return std::make_unique<Process>(command);
    }

    [[nodiscard]] std::unique_ptr<Process> start(const std::string& configuration) const
    {
        auto process = run({"--config", configuration});
        process->waitUntilReady();
        return process;
    }

    /// The status with which a device is read, and nothing else, by a plain call.
    static int statusOf(sdbus::IProxy& provider, const std::string& id)
    {
        int status = -1;
        std::string xml;
        bool isMain = false;
        provider.callMethod("deviceId").onInterface(kInterface).withArguments(id).storeResultsTo(status, xml, isMain);
        return status;
    }

    [[nodiscard]] Tolvek::Orvan::DeviceId::Client& client() const { return *client_; }

private:
    TemporaryFolder folder_;
    std::shared_ptr<Tolvek::Orvan::DeviceId::Client> client_ = Tolvek::Orvan::DeviceId::Client::make_client(kBusType);
};

} // namespace Tests
