#pragma once

#include "peer.h"

#include <sdbus-c++/sdbus-c++.h>

#include <chrono>
#include <cstddef>
#include <exception>
#include <functional>
#include <list>
#include <memory>
#include <string>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

/// One question to one object: what are you, and what is below you?
struct Question
{
    std::size_t peer = 0; ///< which of the peers, as the asker numbers them
    Place place;
};

/// What came of a question: the text of the answer, or the error that came in its place.
struct Answer
{
    const char* xml = nullptr;
    const sdbus::Error* error = nullptr;
    bool isRefusal = false; ///< the bus did not pass the question on, for now
};

/// A connection on which many questions are open at the same time.
///
/// Not thread-safe: everything, the answers too, happens inside the calls of one thread.
class QuestionLane
{
public:
    using Clock = std::chrono::steady_clock;
    /// Takes an answer; what it points to lives only during the call. Must not touch the lane.
    using AnswerHandler = std::function<void(const Question&, const Answer&)>;

    QuestionLane(std::shared_ptr<sdbus::IConnection> connection, AnswerHandler onAnswer);

    void ask(Question question, const std::string& peerName, Clock::time_point now);

    /// Takes the answers that have arrived. \throws sdbus::Error if the bus has gone
    void takeAnswers();

    /// \throws sdbus::Error if the bus has gone
    void requireBus() const;

    /// Questions sent after `since` that are still open.
    [[nodiscard]] std::size_t openSince(Clock::time_point since) const;
    /// When the oldest of them was sent; `none` if there is none.
    [[nodiscard]] Clock::time_point oldestSince(Clock::time_point since, Clock::time_point none) const;

    [[nodiscard]] bool hasRoom() const noexcept { return open_.size() < capacity_; }

    [[nodiscard]] sdbus::IConnection::PollData pollData() const { return connection_->getEventLoopPollData(); }

private:
    struct Open
    {
        Question question;
        Clock::time_point sent;
        std::unique_ptr<sdbus::IProxy> proxy;
        bool isAnswered = false;
    };

    void settle(Open& open, sdbus::MethodReply& reply, const sdbus::Error* error) noexcept;
    void forgetAnswered();
    Answer answerOf(const sdbus::Error& error) noexcept;

    std::shared_ptr<sdbus::IConnection> connection_;
    AnswerHandler onAnswer_;
    std::list<Open> open_; // a list, because callbacks refer to its elements
    std::size_t capacity_;
    std::exception_ptr failure_;
};

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
