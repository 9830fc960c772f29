#include "question_lane.h"

#include "discovery_limits.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

namespace
{

/// Longer than any question stays open, in microseconds: the asker gives up by its own clock, which knows progress
/// from silence.
constexpr std::uint64_t kNoTimeout = 3'600'000'000;

/// Whose word counts when it is about the connection or about who is on the bus; a peer can answer any error.
constexpr std::string_view kBus = "org.freedesktop.DBus";
constexpr std::string_view kRefused = "org.freedesktop.DBus.Error.LimitsExceeded";
/// The owner of the name left with the question open, or the name has no owner.
constexpr std::array<std::string_view, 3> kGone{"org.freedesktop.DBus.Error.NoReply",
                                                "org.freedesktop.DBus.Error.ServiceUnknown",
                                                "org.freedesktop.DBus.Error.NameHasNoOwner"};

/// The text of an answer; empty if it is something other than a text.
const char* textOf(sdbus::MethodReply& reply)
{
    char* text = nullptr;
    try
    {
        reply >> text;
    }
    catch (const sdbus::Error&)
    {
        return "";
    }
    return text;
}

} // namespace

QuestionLane::QuestionLane(std::shared_ptr<sdbus::IConnection> connection, AnswerHandler onAnswer)
    : connection_{std::move(connection)}
    , onAnswer_{std::move(onAnswer)}
    , capacity_{kLaneCapacity}
{
}

void QuestionLane::ask(Question question, const std::string& peerName, Clock::time_point now)
{
    auto proxy = sdbus::createProxy(*connection_, peerName, question.place.path);
    const auto call = proxy->createMethodCall("org.freedesktop.DBus.Introspectable", "Introspect");
    auto& open = open_.emplace_back(Open{std::move(question), now, std::move(proxy)});
    open.proxy->callMethod(
        call, [this, &open](sdbus::MethodReply& reply, const sdbus::Error* error) { settle(open, reply, error); },
        kNoTimeout);
}

/// Runs inside the D-Bus library, which loses its connection to any exception but its own: what fails here is kept
/// for takeAnswers().
void QuestionLane::settle(Open& open, sdbus::MethodReply& reply, const sdbus::Error* error) noexcept
{
    open.isAnswered = true;
    try
    {
        onAnswer_(open.question,
                  error != nullptr ? answerOf(reply, *error) : Answer{Answer::Kind::Text, textOf(reply), nullptr});
    }
    catch (...)
    {
        failure_ = std::current_exception();
    }
}

void QuestionLane::takeAnswers()
{
    // Not without end: somebody may be sending faster than this reads, and the deadlines must be looked at.
    for (std::size_t taken = 0; taken < kMaxMessagesPerTurn && connection_->processPendingRequest(); ++taken)
    {
        if (failure_)
            std::rethrow_exception(std::exchange(failure_, nullptr));
        forgetAnswered();
    }
    forgetAnswered();
}

/// Not earlier than after the callback, in which the D-Bus library still uses the proxy.
void QuestionLane::forgetAnswered()
{
    open_.remove_if([](const Open& open) { return open.isAnswered; });
}

/// By a method of the bus itself: the general ones, a ping for one, are refused by the policy of a system bus.
void QuestionLane::requireBus() const
{
    const auto bus = sdbus::createProxy(*connection_, "org.freedesktop.DBus", "/org/freedesktop/DBus");
    bus->callMethod("GetId").onInterface("org.freedesktop.DBus").withTimeout(kPlatformPatience);
}

std::size_t QuestionLane::openSince(Clock::time_point since) const
{
    return static_cast<std::size_t>(
        std::count_if(open_.begin(), open_.end(), [since](const Open& open) { return open.sent >= since; }));
}

Answer QuestionLane::answerOf(const sdbus::MethodReply& reply, const sdbus::Error& error)
{
    const std::string_view name{error.getName()};
    const bool isFromBus = reply.getSender() == kBus;
    if (isFromBus && std::find(kGone.begin(), kGone.end(), name) != kGone.end())
        return {Answer::Kind::Gone, nullptr, &error};
    if (!isFromBus || name != kRefused)
        return {Answer::Kind::Error, nullptr, &error};
    // The bus may accept fewer open questions on a connection than expected.
    capacity_ = std::max(open_.size() - 1, kSmallestLane);
    return {Answer::Kind::Refusal, nullptr, &error};
}

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
