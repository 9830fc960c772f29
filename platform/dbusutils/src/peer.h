#pragma once

#include "introspection.h"

#include <chrono>
#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

/// Where in the tree of a peer an object is.
struct Place
{
    std::string path;
    std::size_t depth = 0; ///< levels below the root of the walk
};

/// One bus name that is being asked: what it has said so far, how long it may still take, and whether it still counts.
class Peer
{
public:
    using Clock = std::chrono::steady_clock;

    explicit Peer(std::string name);

    [[nodiscard]] const std::string& name() const noexcept { return name_; }
    /// Paths that implement the interface, in ascending order; none for a peer that was passed over.
    [[nodiscard]] const std::set<std::string>& objects() const noexcept { return objects_; }
    [[nodiscard]] bool isPassedOver() const noexcept { return passedOver_; }
    [[nodiscard]] bool isOpen() const noexcept { return !passedOver_ && openQuestions_ > 0; }

    /// Notes that a place is going to be asked about. \return false if it is known already
    bool enquire(const std::string& path);
    /// Notes that one of its questions is on its way now.
    void questionSent(Clock::time_point now);
    /// Notes that a question has been answered, one way or the other.
    void questionAnswered(Clock::time_point now);

    /// Takes what the peer says of an object and all that it says of objects below.
    /// \return the places below that it only named; the caller is to enquire about them
    std::vector<Place> describe(const Place& place, const NodeDescription& description);

    /// When the peer is to be passed over if it has not answered by then; the end of time while nothing has been sent.
    [[nodiscard]] Clock::time_point deadline() const noexcept;

    /// Drops the peer and what it has said, with a line that says why.
    void passOver(const char* reason);

private:
    void describe(const Place& place, const NodeDescription& description, std::vector<Place>& named);

    std::string name_;
    std::chrono::milliseconds patience_;
    std::set<std::string> known_; ///< paths that have been enquired about or described
    std::set<std::string> objects_;
    std::size_t openQuestions_ = 0;
    Clock::time_point begin_ = Clock::time_point::max();
    Clock::time_point progress_ = Clock::time_point::max();
    bool passedOver_ = false;
};

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
