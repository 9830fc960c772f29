#include <deviceid/contribution_manager.h>
#include <deviceid/vel_id_contribution.h>

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace Tolvek::Orvan::DeviceId
{

using Log::LoggerImpl;
using Log::Severity;

namespace
{
constexpr int success = 0;
constexpr int unknownId = 1;
constexpr int deviceFailed = 2;

/// Holds the lock of a registry for its life-time. A thread that already holds it, because one of the process's
/// functions called back, would wait for itself for ever: it gets an error instead.
class RegistryLock
{
public:
    /// \throws std::system_error if this thread holds the lock already
    explicit RegistryLock(std::mutex& mutex)
        : mutex_{notHeld(mutex)}
        , guard_{mutex_}
        , outer_{std::exchange(innermost, this)}
    {
    }
    ~RegistryLock() { innermost = outer_; }
    RegistryLock(const RegistryLock&) = delete;
    RegistryLock(RegistryLock&&) = delete;
    RegistryLock& operator=(const RegistryLock&) = delete;
    RegistryLock& operator=(RegistryLock&&) = delete;

private:
    static std::mutex& notHeld(std::mutex& mutex)
    {
        for (const auto* lock = innermost; lock != nullptr; lock = lock->outer_)
        {
            if (&lock->mutex_ == &mutex)
                throw std::system_error{std::make_error_code(std::errc::resource_deadlock_would_occur),
                                        "A read or write function must not call the registry"};
        }
        return mutex;
    }

    static thread_local const RegistryLock* innermost;

    std::mutex& mutex_;
    std::lock_guard<std::mutex> guard_;
    const RegistryLock* outer_;
};

thread_local const RegistryLock* RegistryLock::innermost = nullptr;
} // namespace

std::shared_ptr<ContributionManager> ContributionManager::instance()
{
    static std::mutex creation;
    static std::shared_ptr<ContributionManager> theInstance;

    const std::lock_guard guard{creation};
    if (!theInstance)
        theInstance = std::make_shared<ContributionManager>();
    return theInstance;
}

ContributionManager::ContributionManager()
    : Logger("Tolvek::Orvan::DeviceId::ContributionManager", "", std::make_shared<LoggerImpl>())
{
}

std::unique_ptr<TokenIfc> ContributionManager::addDeviceId(bool isMain, std::string id, ReadFunction read,
                                                           WriteFunction write)
{
    return addContribution(std::make_shared<Contribution>(isMain, std::move(id), std::move(read), std::move(write)));
}

std::unique_ptr<TokenIfc> ContributionManager::addVel(bool isMain, std::string id, ReadFunction read,
                                                      WriteFunction write)
{
    return addContribution(
        std::make_shared<VelIdContribution>(isMain, std::move(id), std::move(read), std::move(write)));
}

std::unique_ptr<TokenIfc> ContributionManager::addContribution(const std::shared_ptr<Contribution>& contribution)
{
    const RegistryLock guard{lock_};
    checkContributionDataIntegrity(contribution);
    const auto entry = contributions_.emplace(contribution->id(), contribution).first;
    log(Severity::Information, "-addContribution: id=%s: OK", {}, entry->first);
    log(Severity::Information, "-addContribution: size of list is %lu", {}, contributions_.size());
    try
    {
        return std::make_unique<Token>(contribution, instance());
    }
    catch (...)
    {
        // Without a token nobody could ever take the device out again.
        contributions_.erase(entry);
        throw;
    }
}

void ContributionManager::checkContributionDataIntegrity(const std::shared_ptr<Contribution>& contribution) const
{
    const std::string id = contribution->id();
    if (isAlreadyId(id))
    {
        log(Severity::Error, "There is already a deviceid contribution with the id '%s'", {}, id);
        throw std::invalid_argument("Duplicate device ID contribution ID");
    }
    if (!contribution->isMain())
        return;
    if (const std::string presentMain = idOfMain(); !presentMain.empty())
    {
        log(Severity::Error,
            "New contribution with ID '%s' states to be the main one, but we already have one with ID '%s'", {}, id,
            presentMain);
        throw std::invalid_argument("Main device ID already exist");
    }
}

void ContributionManager::remove(const std::shared_ptr<Contribution>& contribution)
{
    const RegistryLock guard{lock_};
    const std::string id = contribution->id();
    log(Severity::Trace, "remove(contribution.id() = '%s')", {}, id);
    if (!contributorById(id))
    {
        log(Severity::Warning, "remove(id = '%s'): no such contribution, nothing to remove", {}, id);
        return;
    }
    const auto erased = contributions_.erase(id);
    if (erased != 1)
    {
        log(Severity::Error, "Remove id '%s' failed with %lu item erased when 1 expected.", {}, id, erased);
        throw std::invalid_argument("Failed to remove device ID contribution.");
    }
    log(Severity::Information, "removed contribution with id '%s'", {}, id);
}

std::vector<std::string> ContributionManager::deviceList()
{
    const RegistryLock guard{lock_};
    std::vector<std::string> ids;
    ids.reserve(contributions_.size());
    for (const auto& [id, contribution] : contributions_)
        ids.insert(contribution->isMain() ? ids.begin() : ids.end(), id);
    log(Severity::Trace, "deviceList: returns %lu items", {}, ids.size());
    return ids;
}

std::shared_ptr<Data> ContributionManager::deviceId(const std::string& id) const
{
    auto data = std::make_shared<Data>();
    const RegistryLock guard{lock_};
    const auto contribution = contributorById(id);
    log(Severity::Trace, "+deviceId(id='%s')", {}, id);
    if (!contribution)
    {
        log(Severity::Error, "No contribution with ID '%s' found", {}, id);
        data->status = unknownId;
        return data;
    }
    try
    {
        data->xml = contribution->readDeviceId();
        data->isMain = contribution->isMain();
        data->status = success;
        log(Severity::Trace, "-deviceId(id='%s'): OK", {}, id);
    }
    catch (const std::exception& error)
    {
        data->status = deviceFailed;
        log(Severity::Error, "Failed to read deviceId contribution with ID '%s'. Error was: %s.", {}, id, error.what());
    }
    return data;
}

int ContributionManager::setDeviceId(const std::string& id, const std::string& xml)
{
    log(Severity::Trace, "+setDeviceId(id='%s', xmlData='%s')", {}, id, xml);
    const RegistryLock guard{lock_};
    const auto contribution = contributorById(id);
    if (!contribution)
    {
        log(Severity::Warning, "-setDeviceId(id='%s'): no such id", {}, id);
        return unknownId;
    }
    try
    {
        contribution->writeDeviceId(xml);
        log(Severity::Information, "-setDeviceId(id='%s'): OK", {}, id);
        return success;
    }
    catch (const std::exception& error)
    {
        log(Severity::Error, "Setting the device id data for '%s' to '%s' failed with error '%s'", {}, id, xml,
            error.what());
        return deviceFailed;
    }
}

std::string ContributionManager::name() const
{
    return "unused";
}

std::shared_ptr<Contribution> ContributionManager::contributorById(const std::string& id) const
{
    const auto entry = contributions_.find(id);
    return entry != contributions_.end() ? entry->second : nullptr;
}

bool ContributionManager::isAlreadyId(const std::string& id) const
{
    return contributions_.count(id) != 0;
}

std::string ContributionManager::idOfMain() const
{
    const auto entry = std::find_if(contributions_.begin(), contributions_.end(),
                                    [](const auto& candidate) { return candidate.second->isMain(); });
    return entry != contributions_.end() ? entry->first : std::string{};
}

} // namespace Tolvek::Orvan::DeviceId
