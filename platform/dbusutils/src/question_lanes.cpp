#include "question_lanes.h"

#include <logger/logger.h>

#include <algorithm>
#include <cerrno>
#include <numeric>
#include <system_error>
#include <utility>
#include <vector>

#include <poll.h>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

namespace
{

bool hasRoom(const QuestionLane& lane)
{
    return lane.hasRoom();
}

} // namespace

QuestionLanes::QuestionLanes(std::shared_ptr<sdbus::IConnection> connection, const Opener& openConnection,
                             QuestionLane::AnswerHandler onAnswer)
    : openConnection_{openConnection}
    , onAnswer_{std::move(onAnswer)}
{
    lanes_.emplace_back(std::move(connection), onAnswer_);
}

bool QuestionLanes::haveRoom()
{
    const auto isRoom = [this] { return std::any_of(lanes_.begin(), lanes_.end(), hasRoom); };
    if (!isRoom() && !isBusFull_)
        openLane();
    return isRoom();
}

void QuestionLanes::openLane()
{
    try
    {
        lanes_.emplace_back(openConnection_(), onAnswer_);
    }
    catch (const sdbus::Error& error)
    {
        Log::orvanDoLog(Log::Severity::Warning, "No further connection to the bus: %s", {}, error.what());
        isBusFull_ = true;
    }
}

void QuestionLanes::ask(Question question, const std::string& peerName, Clock::time_point now)
{
    std::find_if(lanes_.begin(), lanes_.end(), hasRoom)->ask(std::move(question), peerName, now);
}

void QuestionLanes::wait(std::chrono::milliseconds atMost) const
{
    auto wait = std::max<std::chrono::milliseconds::rep>(atMost.count(), 0);
    std::vector<pollfd> descriptors;
    for (const auto& lane : lanes_)
    {
        const auto data = lane.pollData();
        descriptors.push_back({data.fd, data.events, 0});
        // Zero when a message has been read already: the descriptor would not show that.
        if (const auto timeout = data.getPollTimeout(); timeout >= 0)
            wait = std::min<std::chrono::milliseconds::rep>(wait, timeout);
    }
    if (poll(descriptors.data(), descriptors.size(), static_cast<int>(wait)) < 0 && errno != EINTR)
        throw std::system_error{errno, std::generic_category(), "Could not wait for answers"};
}

void QuestionLanes::takeAnswers()
{
    for (auto& lane : lanes_)
        lane.takeAnswers();
}

std::size_t QuestionLanes::openSince(Clock::time_point since) const
{
    return std::accumulate(lanes_.begin(), lanes_.end(), std::size_t{0},
                           [since](std::size_t sum, const QuestionLane& lane) { return sum + lane.openSince(since); });
}

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
