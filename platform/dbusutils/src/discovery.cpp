// Discovery: who is asked what, in which order, and for how long.
//
// D-Bus has no directory of interfaces, so the only way to know who implements one is to ask everybody. The price of
// that is the number of messages: a question takes some 50 microseconds of bus and peer on a desk machine and many
// times that on a device, whatever it asks. So each peer is asked as little as completeness allows:
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
// All questions are open at the same time, sent and answered on the calling thread; the peers take turns, so that one
// with many objects does not hold up the others. A window keeps the number of questions in flight at 32. A question
// that has waited some milliseconds no longer counts against the window: its peer may be silent for good, and the
// others must not queue behind it. The bus counts it all the same, and refuses when a connection has too many open;
// before that point is reached, the remaining questions move to one more connection. If the bus has none left, those
// that no question fits in for are passed over. A question that the bus refuses is asked again.
//
// A peer may take its time, but not without progress: one of this platform 2 s, any other 250 ms, counted from the
// question that it is asked and anew from each answer. Then it is passed over, with a line that names it. The waits of
// all peers run at the same time, so any number of silent peers costs one such wait. A peer that disappears, refuses to
// be asked, answers something other than introspection XML, or exceeds a limit of discovery_limits.h is passed over as
// well. What it had said before is dropped: the result must not depend on the order of answers.

#include "discovery.h"

#include "discovery_limits.h"
#include "introspection.h"
#include "peer.h"
#include "question_lane.h"

#include <busconnection/common_path.h>

#include <logger/logger.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
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

/// Errors by which the bus says that the owner of a name has gone, while a question was open or before.
constexpr std::string_view kLeftWithQuestionOpen = "org.freedesktop.DBus.Error.NoReply";
constexpr std::array<std::string_view, 3> kPeerIsGone{
    kLeftWithQuestionOpen, "org.freedesktop.DBus.Error.ServiceUnknown", "org.freedesktop.DBus.Error.NameHasNoOwner"};

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
        enquireAboutFirstPlaces(names);
        while (isAnyPeerOpen())
        {
            const auto now = Clock::now();
            fillWindow(now);
            waitForTraffic(now);
            const auto judgement = Clock::now(); // before the answers are read: what has arrived by now is in time
            for (auto& lane : lanes_)
                lane.takeAnswers();
            passOverSilentPeers(judgement);
        }
        if (sawLostPeer_)
            lanes_.front().requireBus();
        return result();
    }

private:
    void addLane(std::shared_ptr<sdbus::IConnection> connection)
    {
        lanes_.emplace_back(std::move(connection),
                            [this](const Question& question, const Answer& answer) { onAnswer(question, answer); });
    }

    void enquireAboutFirstPlaces(const std::vector<std::string>& names)
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
        for (auto& peer : peers_)
        {
            if (isLikely(peer.name()) && isBelow(mirror, CommonPath, '/'))
                peer.enquire({mirror, 1});
            peer.enquire({CommonPath, 0});
        }
    }

    [[nodiscard]] bool isAnyPeerOpen() const
    {
        return std::any_of(peers_.begin(), peers_.end(), [](const Peer& peer) { return peer.isOpen(); });
    }

    /// Lets the peers take turns, from where the last round ended, until the window is full or nobody may be asked. A
    /// peer is asked all that it may be asked in one go: it answers that in one go, too, and is woken only once.
    void fillWindow(Clock::time_point now)
    {
        auto inFlight = questionsInFlight(now);
        for (std::size_t i = 0; i < peers_.size() && inFlight < kWindow; ++i)
        {
            while (inFlight < kWindow && peers_[turn_].mayBeAsked(now))
            {
                if (ask(turn_, now))
                    ++inFlight;
            }
            if (inFlight < kWindow)
                turn_ = (turn_ + 1) % peers_.size();
        }
        isWindowFull_ = inFlight >= kWindow;
    }

    [[nodiscard]] std::size_t questionsInFlight(Clock::time_point now) const
    {
        std::size_t count = 0;
        for (const auto& lane : lanes_)
            count += lane.openSince(now - kInFlight);
        return count;
    }

    bool ask(std::size_t peer, Clock::time_point now)
    {
        if (!lanes_.back().hasRoom() && !openLane())
        {
            peers_[peer].passOver("the bus has no connection left on which to ask it");
            return false;
        }
        lanes_.back().ask({peer, peers_[peer].ask(now)}, peers_[peer].name(), now);
        return true;
    }

    /// False when the bus is full. It is tried only once: it takes its time, which all peers would wait for.
    bool openLane()
    {
        if (isBusFull_)
            return false;
        try
        {
            addLane(openConnection_());
        }
        catch (const sdbus::Error& error)
        {
            orvanDoLog(Severity::Warning, "No further connection to the bus: %s", {}, error.what());
            isBusFull_ = true;
        }
        return !isBusFull_;
    }

    void onAnswer(const Question& question, const Answer& answer)
    {
        auto& peer = peers_[question.peer];
        if (peer.isPassedOver())
            return;
        if (answer.isRefusal)
            return peer.refused(question.place, Clock::now());
        peer.answered(Clock::now());
        if (answer.error != nullptr)
            return onError(peer, *answer.error);
        onText(peer, question.place, answer.xml);
    }

    /// Most peers answer that they have no such object, which is as good an answer as any. One that has left takes back
    /// what it had said. When the bus itself goes, all open questions end as if their peers had gone.
    void onError(Peer& peer, const sdbus::Error& error)
    {
        orvanDoLog(Severity::DetailedTrace, "%s: %s", {}, peer.name(), error.what());
        const auto isGone = std::find(kPeerIsGone.begin(), kPeerIsGone.end(), error.getName()) != kPeerIsGone.end();
        if (!isGone)
            return;
        peer.leave();
        sawLostPeer_ = sawLostPeer_ || error.getName() == kLeftWithQuestionOpen;
    }

    void onText(Peer& peer, const Place& place, std::string_view xml) const
    {
        if (xml.size() > kMaxAnswerBytes)
            return peer.passOver("its answer is too long");
        const auto description = parseIntrospection(xml, interfaceName_, kMaxDepth);
        if (!description)
            return peer.passOver("its answer is not introspection XML");
        peer.describe(place, *description);
    }

    void passOverSilentPeers(Clock::time_point now)
    {
        for (auto& peer : peers_)
        {
            if (now >= peer.deadline())
                peer.passOverForSilence();
        }
    }

    void waitForTraffic(Clock::time_point now) const
    {
        auto wait =
            std::max<milliseconds::rep>(std::chrono::ceil<milliseconds>(nextEvent(now) - Clock::now()).count(), 0);
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
    [[nodiscard]] Clock::time_point nextEvent(Clock::time_point now) const
    {
        auto next = now + kPlatformPatience;
        for (const auto& peer : peers_)
        {
            next = std::min(next, peer.deadline());
            if (!isWindowFull_)
                next = std::min(next, peer.nextTurn());
        }
        if (!isWindowFull_)
            return next;
        for (const auto& lane : lanes_)
            next = std::min(next, lane.oldestSince(now - kInFlight, next) + kInFlight);
        return next;
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
    std::size_t turn_ = 0; ///< whose turn it is to be asked
    bool isWindowFull_ = false;
    bool isBusFull_ = false;
    bool sawLostPeer_ = false;
    std::list<QuestionLane> lanes_;
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
