#pragma once

#include <deviceid/contribution.h>
#include <deviceid/export.h>
#include <deviceid/service.h>
#include <deviceid/token.h>

#include <logger/logger.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

// How the registry is locked
//
// One plain mutex per registry guards the map of contributions. Registering, removing, listing, reading and writing
// each take it once and hold it for their whole work. That includes the process's own read and write functions: devices
// are mostly files or slow hardware behind code that was never written for several threads, so the registry promises
// that no two of these functions ever overlap. The price is that a slow function delays every other caller, and that a
// function must not call the registry: it gets a std::system_error instead of waiting for itself, and a token that it
// drops leaves its device registered.
//
// No contribution is destroyed under the lock. Its functions may own anything, tokens of other devices included, so its
// own token lets go of it only when the removal is over.
//
// contributorById(), isAlreadyId(), idOfMain() and checkContributionDataIntegrity() are what the operations above are
// made of and take no lock: call them only while no other call can run.
//
// Finding or making the process-wide instance is guarded by a lock of its own, which is never held while the registry's
// lock is taken; so registering may ask for the instance with the registry's lock held.

namespace Tolvek::Orvan::DeviceId
{

/// Where a token takes its contribution out again.
class DEVICEID_EXPORT ContributionManagerIfc
{
public:
    virtual ~ContributionManagerIfc() = default;

    /// \throws std::invalid_argument if the contribution could not be taken out
    virtual void remove(const std::shared_ptr<Contribution>& contribution) = 0;
};

/// The identities of all devices that this process publishes, at most one of them the system's main device.
///
/// Thread-safe but for the operations that say otherwise. The process's read and write functions run with the
/// registry's lock held, on the thread of the caller, and must not call back into the registry. Every operation that
/// locks may throw std::system_error; a failing call leaves the registry as it was.
class DEVICEID_EXPORT ContributionManager : public ServiceIfc, public ContributionManagerIfc, virtual Log::Logger
{
public:
    /// The registry of this process, made by the first call. Never empty; may be called from several threads at once.
    static std::shared_ptr<ContributionManager> instance();

    /// An empty registry. Tokens always lead back to instance(), so processes use that one.
    ContributionManager();

    /// Publishes a device until the returned token is destroyed.
    /// \param isMain whether this is the system's main device
    /// \param id     unique in this process, not empty
    /// \param read   returns the device-ID XML document
    /// \param write  stores a new device-ID XML document
    /// \throws std::invalid_argument if the id is empty or taken, a function is missing, or a second main device is
    ///         added
    std::unique_ptr<TokenIfc> addDeviceId(bool isMain, std::string id, ReadFunction read, WriteFunction write);

    /// Publishes a device that keeps its identity as a VEL string; otherwise as addDeviceId().
    /// \param read  returns the VEL string
    /// \param write stores a new VEL string
    std::unique_ptr<TokenIfc> addVel(bool isMain, std::string id, ReadFunction read, WriteFunction write);

    /// Publishes a contribution until the returned token is destroyed.
    /// \pre the contribution is not empty
    /// \throws std::invalid_argument if the id is taken or a second main device is added
    std::unique_ptr<TokenIfc> addContribution(const std::shared_ptr<Contribution>& contribution);

    /// Checks that a contribution may be added. Takes no lock.
    /// \throws std::invalid_argument if the id is taken or a second main device would be added
    void checkContributionDataIntegrity(const std::shared_ptr<Contribution>& contribution) const;

    /// The main device's id, if there is one, then all others in ascending byte-wise order.
    std::vector<std::string> deviceList() override;

    /// Reads one device; status 1 if the id is unknown, 2 if its read function fails with a std::exception. What else
    /// that function throws reaches the caller.
    std::shared_ptr<Data> deviceId(const std::string& id) const override;

    /// Writes one device; statuses and exceptions as for deviceId().
    int setDeviceId(const std::string& id, const std::string& xml) override;

    /// Always "unused": a registry is known by the bus name of its process.
    std::string name() const override;

    /// Takes out the contribution with the id of the given one; does nothing if there is none.
    /// \pre the contribution is not empty
    void remove(const std::shared_ptr<Contribution>& contribution) override;

    /// The contribution with this id, or an empty pointer. Takes no lock.
    std::shared_ptr<Contribution> contributorById(const std::string& id) const;

    /// Whether this id is registered. Takes no lock.
    bool isAlreadyId(const std::string& id) const;

    /// The id of the main device, or an empty string. Takes no lock.
    std::string idOfMain() const;

private:
    std::map<std::string, std::shared_ptr<Contribution>> contributions_;
    mutable std::mutex lock_;
};

} // namespace Tolvek::Orvan::DeviceId
