// Discovery: who is asked what, in which order, and for how long.
//
// D-Bus has no directory of interfaces, so the only way to know who implements one is to ask everybody. The price of
// that is the number of messages: a question costs 25 to 45 microseconds on a desk machine and many times that on a
// device, whatever it asks. So each peer is asked as little as completeness allows:
//
//  - Only well-known names are asked. A connection without one is a client; an idle client does not answer, and two
//    clients that ask each other would wait for nothing. A connection with two names is asked under both, because
//    finding out that they are one would cost more questions than it saves.
//  - Only the tree at and below CommonPath is walked: everything that this platform exports lives there.
//  - Each name is asked about CommonPath itself. Names that begin with the prefix of the interface (its name without
//    the last element) almost certainly export the object path that mirrors that prefix, so they are asked about that
//    in the same breath, ahead of all others, and need no second round. Further questions go only to child nodes that
//    no answer has described yet.
//
// All questions are open at the same time, sent and answered on the calling thread. A window keeps the number of
// questions in flight at 32. A question that has waited some milliseconds no longer counts against the window: its
// peer may be silent for good, and the others must not queue behind it. The bus counts it all the same, and refuses
// when a connection has too many open; before that point is reached, the remaining questions move to one more
// connection.
//
// A peer may take its time, but not without progress: one of this platform 2 s, any other 250 ms, counted from its
// first question and anew from each answer. Then it is passed over, with a line that names it. The waits of all peers
// run at the same time, so any number of silent peers costs one such wait. A peer that disappears, refuses to be asked,
// answers something other than introspection XML, or exceeds a limit of discovery_limits.h is passed over as well.
// What it had said before is dropped: the result must not depend on the order of answers.

#include "discovery.h"

#include "discovery_limits.h"
#include "introspection.h"
#include "peer.h"
#include "question_lane.h"

#include <busconnection/common_path.h>

#include <logger/logger.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <deque>
#include <list>
#include <string_view>
#include <system_error>
#include <utility>

#include <poll.h>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

namespace
{

using Log::orvanDoLog;
using Log::Severity;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

bool isAskable(const std::string& name)
{
    return !name.empty() && name.front() != ':' && name != "org.freedesktop.DBus";
}

bool isBelow(std::string_view text, std::string_view prefix, char separator)
{
    return text.size() > prefix.size() && text.substr(0, prefix.size()) == prefix && text[prefix.size()] == separator;
}

/// The object path that mirrors a dotted name.
std::string mirrorOf(std::string name)
{
    std::replace(name.begin(), name.end(), '.', '/');
    return "/" + name;
}

class Discovery
{
public:
    Discovery(std::shared_ptr<sdbus::IConnection> connection,
              const std::function<std::shared_ptr<sdbus::IConnection>()>& openConnection,
              const std::string& interfaceName)
        : openConnection_{openConnection}
        , interfaceName_{interfaceName}
    {
        addLane(std::move(connection));
    }

    std::map<std::string, std::vector<std::string>> run(const std::vector<std::string>& names)
    {
        queueFirstQuestions(names);
        while (isAnyPeerOpen())
        {
            fillWindow();
            waitForTraffic();
            const auto now = Clock::now(); // before the answers are read: one that has arrived by now is in time
            for (auto& lane : lanes_)
                lane.takeAnswers();
            passOverSilentPeers(now);
        }
        return result();
    }

private:
    void addLane(std::shared_ptr<sdbus::IConnection> connection)
    {
        lanes_.emplace_back(std::move(connection),
                            [this](const Question& question, const Answer& answer) { onAnswer(question, answer); });
    }

    void queueFirstQuestions(const std::vector<std::string>& names)
    {
        const auto prefix = interfaceName_.substr(0, interfaceName_.rfind('.'));
        const auto isLikely = [&prefix](const std::string& name)
        { return name == prefix || isBelow(name, prefix, '.'); };

        std::vector<std::string> askable;
        std::copy_if(names.begin(), names.end(), std::back_inserter(askable), isAskable);
        std::stable_partition(askable.begin(), askable.end(), isLikely);
        for (auto& name : askable)
            peers_.emplace_back(std::move(name));

        const auto mirror = mirrorOf(prefix);
        for (std::size_t peer = 0; peer < peers_.size(); ++peer)
        {
            if (isLikely(peers_[peer].name()) && isBelow(mirror, CommonPath, '/'))
                enquire(peer, {mirror, 1});
            enquire(peer, {CommonPath, 0});
        }
    }

    void enquire(std::size_t peer, Place place)
    {
        if (peers_[peer].enquire(place.path))
            queue_.push_back({peer, std::move(place)});
    }

    [[nodiscard]] bool isAnyPeerOpen() const
    {
        return std::any_of(peers_.begin(), peers_.end(), [](const Peer& peer) { return peer.isOpen(); });
    }

    void fillWindow()
    {
        const auto now = Clock::now();
        if (now < pausedUntil_)
            return;
        auto inFlight = questionsInFlight(now);
        while (!queue_.empty() && inFlight < kWindow)
        {
            const auto question = std::move(queue_.front());
            queue_.pop_front();
            if (peers_[question.peer].isPassedOver())
                continue;
            ask(question, now);
            ++inFlight;
        }
    }

    [[nodiscard]] std::size_t questionsInFlight(Clock::time_point now) const
    {
        std::size_t count = 0;
        for (const auto& lane : lanes_)
            count += lane.openSince(now - kInFlight);
        return count;
    }

    void ask(const Question& question, Clock::time_point now)
    {
        auto& peer = peers_[question.peer];
        if (!lanes_.back().hasRoom())
            addLane(openConnection_());
        peer.questionSent(now);
        lanes_.back().ask(question, peer.name(), now);
    }

    void onAnswer(const Question& question, const Answer& answer)
    {
        auto& peer = peers_[question.peer];
        if (peer.isPassedOver())
            return;
        if (answer.error != nullptr && isRefusal(*answer.error) && question.refusals < kMaxRefusals)
            return askAgainLater(question);
        peer.questionAnswered(Clock::now());
        if (answer.error != nullptr)
            return onError(peer, *answer.error);
        onText(question, answer.xml);
    }

    static bool isRefusal(const sdbus::Error& error)
    {
        return error.getName() == "org.freedesktop.DBus.Error.LimitsExceeded";
    }

    void askAgainLater(Question question)
    {
        lanes_.back().noteRefusal();
        pausedUntil_ = Clock::now() + kRefusalPause;
        ++question.refusals;
        queue_.push_back(std::move(question));
    }

    /// Most peers answer that they have no such object, which is as good an answer as any.
    static void onError(Peer& peer, const sdbus::Error& error)
    {
        orvanDoLog(Severity::DetailedTrace, "%s: %s", {}, peer.name(), error.what());
    }

    void onText(const Question& question, std::string_view xml)
    {
        auto& peer = peers_[question.peer];
        if (xml.size() > kMaxAnswerBytes)
            return peer.passOver("its answer is too long");
        const auto description = parseIntrospection(xml, interfaceName_, kMaxDepth);
        if (!description)
            return peer.passOver("its answer is not introspection XML");
        for (auto& place : peer.describe(question.place, *description))
            enquire(question.peer, std::move(place));
    }

    void passOverSilentPeers(Clock::time_point now)
    {
        for (auto& peer : peers_)
        {
            if (peer.isOpen() && now >= peer.deadline())
                peer.passOver("it does not answer");
        }
    }

    void waitForTraffic()
    {
        auto wait = std::max<milliseconds::rep>(std::chrono::ceil<milliseconds>(nextEvent() - Clock::now()).count(), 0);
        std::vector<pollfd> descriptors;
        for (const auto& lane : lanes_)
        {
            const auto data = lane.pollData();
            descriptors.push_back({data.fd, data.events, 0});
            // Zero when a message has been read already: the descriptor would not show that.
            if (const auto timeout = data.getPollTimeout(); timeout >= 0)
                wait = std::min<milliseconds::rep>(wait, timeout);
        }
        if (poll(descriptors.data(), descriptors.size(), static_cast<int>(wait)) < 0 && errno != EINTR)
            throw std::system_error{errno, std::generic_category(), "Could not wait for answers"};
    }

    /// When something is to be done even if no answer comes.
    [[nodiscard]] Clock::time_point nextEvent() const
    {
        const auto now = Clock::now();
        auto next = now + kPlatformPatience;
        for (const auto& peer : peers_)
        {
            if (peer.isOpen())
                next = std::min(next, peer.deadline());
        }
        if (queue_.empty())
            return next;
        for (const auto& lane : lanes_)
            next = std::min(next, lane.oldestSince(now - kInFlight, next) + kInFlight);
        return now < pausedUntil_ ? std::min(next, pausedUntil_) : next;
    }

    [[nodiscard]] std::map<std::string, std::vector<std::string>> result() const
    {
        std::map<std::string, std::vector<std::string>> found;
        for (const auto& peer : peers_)
        {
            if (!peer.objects().empty())
                found.emplace(peer.name(), std::vector<std::string>{peer.objects().begin(), peer.objects().end()});
        }
        return found;
    }

    const std::function<std::shared_ptr<sdbus::IConnection>()>& openConnection_;
    const std::string& interfaceName_;
    std::vector<Peer> peers_;
    std::deque<Question> queue_;
    std::list<QuestionLane> lanes_;
    Clock::time_point pausedUntil_;
};

} // namespace

std::map<std::string, std::vector<std::string>>
discover(const std::shared_ptr<sdbus::IConnection>& connection,
         const std::function<std::shared_ptr<sdbus::IConnection>()>& openConnection,
         const std::vector<std::string>& names, const std::string& interfaceName)
{
    return Discovery{connection, openConnection, interfaceName}.run(names);
}

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
