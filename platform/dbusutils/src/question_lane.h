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
    enum class Kind
    {
        Text,    ///< what the peer says of the object
        Error,   ///< the peer says, or the bus says for it, that there is no answer
        Gone,    ///< the peer is not on the bus any more
        Refusal, ///< the bus did not pass the question on, for now
    };

    Kind kind = Kind::Text;
    const char* xml = nullptr;
    const sdbus::Error* error = nullptr;
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

    /// \throws sdbus::Error if the bus has gone or does not answer in time
    void requireBus() const;

    /// Questions sent at `since` or later that are still open.
    [[nodiscard]] std::size_t openSince(Clock::time_point since) const;

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
    Answer answerOf(const sdbus::MethodReply& reply, const sdbus::Error& error);

    std::shared_ptr<sdbus::IConnection> connection_;
    AnswerHandler onAnswer_;
    std::list<Open> open_; // a list, because callbacks refer to its elements
    std::size_t capacity_;
    std::exception_ptr failure_;
};

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
