#include <deviceid/contribution.h>

#include <exception>
#include <memory>
#include <stdexcept>
#include <utility>

namespace Tolvek::Orvan::DeviceId
{

using Log::LoggerImpl;
using Log::Severity;

Contribution::Contribution(bool isMain, std::string id, ReadFunction read, WriteFunction write)
    : Logger("Tolvek::Orvan::DeviceId::Contribution", "", std::make_shared<LoggerImpl>())
    , read_{std::move(read)}
    , write_{std::move(write)}
    , id_{std::move(id)}
    , isMain_{isMain}
{
    if (!read_ || !write_)
    {
        log(Severity::Error,
            "For contribution id '%s', a read or write device id contribution is required but at least one was "
            "nullptr.",
            {}, id_);
        throw std::invalid_argument("A read or write device id contribution is required.");
    }
    if (id_.empty())
    {
        log(Severity::Error, "Id is empty", {});
        throw std::invalid_argument("Id is empty");
    }
}

std::string Contribution::readDeviceId()
{
    try
    {
        return read_();
    }
    catch (const std::exception& error)
    {
        log(Severity::Error, "Error while reading Device Id '%s'. Error was %s", {}, id_, error.what());
        throw;
    }
}

void Contribution::writeDeviceId(std::string xml)
{
    try
    {
        write_(std::move(xml));
    }
    catch (const std::exception& error)
    {
        log(Severity::Error, "Error while writing Device Id '%s'. Error was %s", {}, id_, error.what());
        throw;
    }
}

} // namespace Tolvek::Orvan::DeviceId
