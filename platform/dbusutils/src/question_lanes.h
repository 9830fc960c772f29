#pragma once

#include "question_lane.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <string>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

/// The connections on which questions are asked: one, and more of them when as many questions are open as a bus accepts
/// on one.
///
/// Not thread-safe, like the lanes.
class QuestionLanes
{
public:
    using Clock = QuestionLane::Clock;
    using Opener = std::function<std::shared_ptr<sdbus::IConnection>()>;

    QuestionLanes(std::shared_ptr<sdbus::IConnection> connection, const Opener& openConnection,
                  QuestionLane::AnswerHandler onAnswer);

    /// Whether a question can be asked now. Opens another connection if it takes one; false when the bus has none left.
    bool haveRoom();
    /// Asks, on a lane that has room.
    void ask(Question question, const std::string& peerName, Clock::time_point now);

    /// Waits until something has arrived, at most so long.
    void wait(std::chrono::milliseconds atMost) const;
    /// Takes the answers that have arrived. \throws sdbus::Error if the bus has gone
    void takeAnswers();
    /// \throws sdbus::Error if the bus has gone or does not answer in time
    void requireBus() const { lanes_.front().requireBus(); }

    /// Questions sent at `since` or later that are still open.
    [[nodiscard]] std::size_t openSince(Clock::time_point since) const;

private:
    void openLane();

    const Opener& openConnection_;
    QuestionLane::AnswerHandler onAnswer_;
    std::list<QuestionLane> lanes_;
    bool isBusFull_ = false;
};

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
