#include "peer.h"

#include "discovery_limits.h"

#include <logger/logger.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

namespace
{

std::chrono::milliseconds patienceWith(std::string_view name)
{
    const bool isOurs = name.substr(0, kPlatformPrefix.size()) == kPlatformPrefix;
    return isOurs ? kPlatformPatience : kForeignPatience;
}

} // namespace

Peer::Peer(std::string name)
    : name_{std::move(name)}
    , patience_{patienceWith(name_)}
{
}

void Peer::enquire(Place place)
{
    if (known_.insert(place.path).second)
        unasked_.push_back(std::move(place));
}

bool Peer::mayBeAsked(Clock::time_point now) const noexcept
{
    return now >= nextTurn();
}

Peer::Clock::time_point Peer::nextTurn() const noexcept
{
    const bool isIdle = passedOver_ || unasked_.empty() || inFlight_ >= kMaxOpenPerPeer;
    return isIdle ? Clock::time_point::max() : notBefore_;
}

Place Peer::ask(Clock::time_point now)
{
    if (begin_ == Clock::time_point::max())
        begin_ = now;
    if (!isWaiting())
        progress_ = now;
    ++inFlight_;
    auto place = std::move(unasked_.front());
    unasked_.pop_front();
    return place;
}

void Peer::answered(Clock::time_point now)
{
    --inFlight_;
    progress_ = now;
    isRefused_ = false;
}

void Peer::refused(Place place, Clock::time_point now)
{
    --inFlight_;
    isRefused_ = true;
    notBefore_ = now + kRefusalPause;
    unasked_.push_front(std::move(place));
}

void Peer::describe(const Place& place, const NodeDescription& description)
{
    if (description.implements)
        objects_.insert(place.path);
    if (!description.children.empty() && place.depth >= kMaxDepth)
        return passOver("its objects are nested too deeply");
    for (const auto& child : description.children)
    {
        if (passedOver_)
            return;
        describeChild({place.path + "/" + child.name, place.depth + 1}, child);
    }
}

void Peer::describeChild(const Place& place, const NodeDescription::Child& child)
{
    if (place.path.size() > kMaxPathBytes)
        return passOver("the name of an object is too long");
    if (known_.size() >= kMaxObjectsPerPeer && known_.count(place.path) == 0)
        return passOver("it has too many objects");
    if (child.description.empty())
        return enquire(place);
    known_.insert(place.path);
    describe(place, child.description.front());
}

Peer::Clock::time_point Peer::deadline() const noexcept
{
    if (!isOpen() || !isWaiting())
        return Clock::time_point::max();
    return std::min(progress_ + patience_, lastDeadline());
}

Peer::Clock::time_point Peer::lastDeadline() const noexcept
{
    return begin_ + kPatiencesInAll * patience_;
}

void Peer::passOver(const char* reason)
{
    if (passedOver_)
        return;
    Log::orvanDoLog(Log::Severity::Warning, "Passing over %s: %s", {}, name_, reason);
    leave();
}

void Peer::leave() noexcept
{
    passedOver_ = true;
    objects_.clear();
}

void Peer::passOverInTime(Clock::time_point now)
{
    if (isRefused_)
        passOver("the bus does not pass questions on to it");
    else
        passOver(now < lastDeadline() ? "it does not answer" : "it takes too long");
}

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
