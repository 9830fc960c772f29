#pragma once

#include <chrono>
#include <cstddef>
#include <string_view>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

/// Questions that are in flight at the same time: enough to keep the bus busy, too few to flood it.
constexpr std::size_t kWindow = 32;
/// A full window without an answer for so long is waiting for silent peers.
constexpr std::chrono::milliseconds kStall{8};

/// Open questions on one connection, given-up ones included. A system bus refuses the 129th, and the call that follows
/// the discovery needs room too.
constexpr std::size_t kLaneCapacity = 96;
/// The fewest that a lane is content with when the bus refuses more: the refusal may be about the peer, not the lane.
constexpr std::size_t kSmallestLane = 8;
/// The pause before a question is asked again that the bus refused to pass on.
constexpr std::chrono::milliseconds kRefusalPause{5};
/// Open questions to one peer: one that names a thousand objects must not crowd out the others.
constexpr std::size_t kMaxOpenPerPeer = 8;

/// Messages that are taken from a connection before the deadlines are looked at.
constexpr std::size_t kMaxMessagesPerTurn = 4 * kWindow;

/// How long a peer may stay silent.
constexpr std::string_view kPlatformPrefix = "com.tolvek.";
constexpr std::chrono::milliseconds kPlatformPatience{2000};
constexpr std::chrono::milliseconds kForeignPatience{250};
/// A peer that makes just enough progress to stay must end some time, too: after so many times its patience.
constexpr int kPatiencesInAll = 8;

/// What a peer may say: far more than any peer of this platform does, little enough to cost nothing that matters.
constexpr std::size_t kMaxAnswerBytes = 256UL * 1024;
constexpr std::size_t kMaxDepth = 16;
constexpr std::size_t kMaxObjectsPerPeer = 1024;
constexpr std::size_t kMaxPathBytes = 1024;

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
