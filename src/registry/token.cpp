#include <deviceid/contribution_manager.h>
#include <deviceid/token.h>

#include <logger/logger.h>

#include <exception>
#include <utility>

namespace Tolvek::Orvan::DeviceId
{

Token::Token(std::shared_ptr<Contribution> contribution, std::shared_ptr<ContributionManagerIfc> manager)
    : contribution_{std::move(contribution)}
    , manager_{std::move(manager)}
{
}

// What leaves a destructor ends the process, and with it every other device that it publishes. A device that stays
// listed although its token is gone is the smaller harm: its functions and all they own live on in the registry, so
// calls for it still end well. Hence a failure, of the removal or of the lock, is logged and goes no further.
Token::~Token()
{
    try
    {
        manager_->remove(contribution_);
    }
    catch (const std::exception& error)
    {
        Log::orvanDoLog(Log::Severity::Error, "Could not remove a device id contribution with its token: %s", {},
                        error.what());
    }
    catch (...)
    {
        Log::orvanDoLog(Log::Severity::Error, "Could not remove a device id contribution with its token", {});
    }
}

} // namespace Tolvek::Orvan::DeviceId
