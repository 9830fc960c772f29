#pragma once

#include <deviceid/service.h>
#include <deviceid/service_discoverer.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Tests
{

/// A service that answers from memory and keeps a record of what it was asked.
class FakeService : public Tolvek::Orvan::DeviceId::ServiceIfc
{
public:
    using Data = Tolvek::Orvan::DeviceId::Data;
    using Devices = std::vector<std::pair<std::string, Data>>;

    explicit FakeService(Devices content, std::string serviceName = "srv")
        : devices{std::move(content)}
        , name_{std::move(serviceName)}
    {
    }

    std::vector<std::string> deviceList() override
    {
        fault();
        std::vector<std::string> ids;
        for (const auto& device : devices)
            ids.push_back(device.first);
        return ids;
    }

    std::shared_ptr<Data> deviceId(const std::string& id) const override
    {
        calls.push_back("read " + id);
        fault();
        for (const auto& device : devices)
            if (device.first == id)
                return std::make_shared<Data>(device.second);
        return std::make_shared<Data>(Data{1, "", false});
    }

    int setDeviceId(const std::string& id, const std::string& xml) override
    {
        calls.push_back("write " + id + " " + xml);
        fault();
        return writeStatus;
    }

    std::string name() const override { return name_; }

    Devices devices;
    int writeStatus{0};
    std::function<void()> fault = [] {}; ///< runs in every list, read and write; throws to make it fail
    mutable std::vector<std::string> calls;

private:
    std::string name_;
};

// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): final, so it is never deleted as anything less
class FakeDiscoverer final : public Tolvek::Orvan::DeviceId::ServiceDiscovererIfc
{
public:
    std::vector<std::shared_ptr<Tolvek::Orvan::DeviceId::ServiceIfc>> services() override
    {
        ++discoveries;
        return {found.begin(), found.end()};
    }

    std::vector<std::shared_ptr<FakeService>> found;
    int discoveries{0};
};

} // namespace Tests
