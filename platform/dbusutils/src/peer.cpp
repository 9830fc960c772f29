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

bool Peer::enquire(const std::string& path)
{
    if (!known_.insert(path).second)
        return false;
    ++openQuestions_;
    return true;
}

void Peer::questionSent(Clock::time_point now)
{
    if (begin_ != Clock::time_point::max())
        return;
    begin_ = now;
    progress_ = now;
}

void Peer::questionAnswered(Clock::time_point now)
{
    --openQuestions_;
    progress_ = now;
}

std::vector<Place> Peer::describe(const Place& place, const NodeDescription& description)
{
    std::vector<Place> named;
    describe(place, description, named);
    return named;
}

void Peer::describe(const Place& place, const NodeDescription& description, std::vector<Place>& named)
{
    if (description.implements)
        objects_.insert(place.path);
    if (!description.children.empty() && place.depth >= kMaxDepth)
        return passOver("its objects are nested too deeply");
    for (const auto& child : description.children)
    {
        if (passedOver_)
            return;
        if (known_.size() + named.size() >= kMaxObjectsPerPeer)
            return passOver("it has too many objects");
        Place below{place.path + "/" + child.name, place.depth + 1};
        if (child.description.empty())
        {
            named.push_back(std::move(below));
            continue;
        }
        known_.insert(below.path);
        describe(below, child.description.front(), named);
    }
}

Peer::Clock::time_point Peer::deadline() const noexcept
{
    if (begin_ == Clock::time_point::max())
        return begin_;
    return std::min(progress_ + patience_, begin_ + kPatiencesInAll * patience_);
}

void Peer::passOver(const char* reason)
{
    if (passedOver_)
        return;
    Log::orvanDoLog(Log::Severity::Warning, "Passing over %s: %s", {}, name_, reason);
    passedOver_ = true;
    objects_.clear();
}

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
