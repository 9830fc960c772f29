#pragma once

#include "introspection.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <set>
#include <string>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

/// Where in the tree of a peer an object is.
struct Place
{
    std::string path;
    std::size_t depth = 0; ///< levels below the root of the walk
};

/// One bus name that is being asked: what it is still to be asked, what it has said so far, how long it may still take,
/// and whether it still counts.
///
/// Its patience runs only while a question is on its way to it: the time that its questions spend behind those to
/// others is not its own.
class Peer
{
public:
    using Clock = std::chrono::steady_clock;

    explicit Peer(std::string name);

    [[nodiscard]] const std::string& name() const noexcept { return name_; }
    /// Paths that implement the interface, in ascending order; none for a peer that was passed over.
    [[nodiscard]] const std::set<std::string>& objects() const noexcept { return objects_; }
    [[nodiscard]] bool isPassedOver() const noexcept { return passedOver_; }
    [[nodiscard]] bool isOpen() const noexcept { return !passedOver_ && (inFlight_ > 0 || !unasked_.empty()); }

    /// Whether an answer of it is still expected.
    [[nodiscard]] bool isBeingAsked() const noexcept { return !passedOver_ && inFlight_ > 0; }

    /// Notes a place that is to be asked about, unless it is known already.
    void enquire(Place place);

    /// Whether a question may be sent to it now: there is one, and not too many others are unanswered.
    [[nodiscard]] bool mayBeAsked(Clock::time_point now) const noexcept;
    /// When it may be asked again after the bus refused to; the end of time if there is nothing to ask or too much
    /// open.
    [[nodiscard]] Clock::time_point nextTurn() const noexcept;
    /// The place to ask about now.
    Place ask(Clock::time_point now);

    /// A question has been answered, one way or the other.
    void answered(Clock::time_point now);
    /// The bus refused to pass a question on: it is to be asked again a little later, for as long as the patience
    /// lasts.
    void refused(Place place, Clock::time_point now);
    /// Takes what the peer says of an object and all that it says of objects below.
    void describe(const Place& place, const NodeDescription& description);

    /// When the peer is to be passed over if nothing has come by then; the end of time while nothing is expected.
    [[nodiscard]] Clock::time_point deadline() const noexcept;

    /// Drops the peer and what it has said, with a line that says why.
    void passOver(const char* reason);
    /// The same, for a peer whose deadline has come.
    void passOverInTime(Clock::time_point now);
    /// Drops the peer without a line: programs end all the time.
    void leave() noexcept;

private:
    void describeChild(const Place& place, const NodeDescription::Child& child);
    [[nodiscard]] Clock::time_point lastDeadline() const noexcept;
    [[nodiscard]] bool isWaiting() const noexcept { return inFlight_ > 0 || isRefused_; }

    std::string name_;
    std::chrono::milliseconds patience_;
    std::deque<Place> unasked_;
    std::set<std::string> known_; ///< paths that have been enquired about or described
    std::set<std::string> objects_;
    std::size_t inFlight_ = 0;
    Clock::time_point begin_ = Clock::time_point::max(); ///< of the first question
    Clock::time_point progress_;                         ///< of the last answer, or of the question that broke a rest
    Clock::time_point notBefore_;
    bool isRefused_ = false;
    bool passedOver_ = false;
};

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
