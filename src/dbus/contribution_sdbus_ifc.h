#pragma once

#include <busconnection/bus_object.h>
#include <deviceid/export.h>
#include <deviceid/service.h>

#include <memory>
#include <string>

namespace Tolvek::Orvan::DeviceId
{

/// The bus object of a provider: where it is exported, and who answers its calls.
class DEVICEID_EXPORT ContributionSdbusIfc : public Utils::BusConnection::BusObject
{
public:
    /// \param relativePath object path below CommonPath, without a leading slash
    ContributionSdbusIfc(std::string relativePath, std::shared_ptr<ServiceIfc> service);
    ~ContributionSdbusIfc() override;
    ContributionSdbusIfc(const ContributionSdbusIfc&) = delete;
    ContributionSdbusIfc(ContributionSdbusIfc&&) = delete;
    ContributionSdbusIfc& operator=(const ContributionSdbusIfc&) = delete;
    ContributionSdbusIfc& operator=(ContributionSdbusIfc&&) = delete;

    [[nodiscard]] const std::string& relativePath() const noexcept { return relativePath_; }
    [[nodiscard]] ServiceIfc& service() const noexcept { return *service_; }

private:
    std::string relativePath_;
    std::shared_ptr<ServiceIfc> service_;
};

} // namespace Tolvek::Orvan::DeviceId
