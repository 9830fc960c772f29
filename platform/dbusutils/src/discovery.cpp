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
// with many objects does not hold up the others. A window keeps the number of questions in flight at 32. When it is
// full and nothing has come for some milliseconds, whoever is asked may be silent for good, and the others must not
// queue behind them: the questions open by then no longer count. The bus counts them all the same, and refuses when a
// connection has too many open; before that point is reached, the remaining questions move to one more connection. If
// the bus has none left, they wait until answers make room, and their peers are passed over when no more can come. A
// question that the bus refuses is asked again.
//
// A peer may take its time, but not without progress: one of this platform 2 s, any other 250 ms, counted from the
// question that it is asked and anew from each answer. Then it is passed over, with a line that names it. The waits of
// all peers run at the same time, so any number of silent peers costs one such wait. A peer that disappears, refuses to
// be asked, answers something other than introspection XML, or exceeds a limit of discovery_limits.h is passed over as
// well. What it had said before is dropped: the result must not depend on the order of answers. When nobody at all has
// answered, the bus itself is asked whether it is still there: an empty result would be a lie if it is not.

#include "discovery.h"

#include "discovery_limits.h"
#include "introspection.h"
#include "peer.h"
#include "question_lanes.h"

#include <busconnection/common_path.h>

#include <logger/logger.h>

#include <algorithm>
#include <chrono>
#include <string_view>
#include <utility>

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
    Discovery(std::shared_ptr<sdbus::IConnection> connection, const QuestionLanes::Opener& openConnection,
              const std::string& interfaceName)
        : interfaceName_{interfaceName}
        , lanes_{std::move(connection), openConnection,
                 [this](const Question& question, const Answer& answer) { onAnswer(question, answer); }}
    {
    }

    std::map<std::string, std::vector<std::string>> run(const std::vector<std::string>& names)
    {
        enquireAboutFirstPlaces(names);
        while (isAnyPeer(&Peer::isOpen))
        {
            const auto now = Clock::now();
            fillWindow(now);
            if (isOutOfRoom_ && !isAnyPeer(&Peer::isBeingAsked))
                passOverUnasked();
            lanes_.wait(std::chrono::ceil<milliseconds>(nextEvent(now) - Clock::now()));
            const auto judgement = Clock::now(); // before the answers are read: what has arrived by now is in time
            lanes_.takeAnswers();
            passOverSilentPeers(judgement);
        }
        if (!peers_.empty() && !hasAnyoneAnswered_)
            lanes_.requireBus();
        return result();
    }

private:
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

    [[nodiscard]] bool isAnyPeer(bool (Peer::*is)() const noexcept) const
    {
        return std::any_of(peers_.begin(), peers_.end(), [is](const Peer& peer) { return (peer.*is)(); });
    }

    /// Lets the peers take turns, from where the last round ended, until the window is full or nobody may be asked. A
    /// peer is asked all that it may be asked in one go: it answers that in one go, too, and is woken only once.
    void fillWindow(Clock::time_point now)
    {
        disregardIfStalled(now);
        auto inFlight = lanes_.openSince(windowBegin_);
        isWindowFull_ = false;
        isOutOfRoom_ = false;
        for (std::size_t i = 0; i < peers_.size(); ++i)
        {
            auto& peer = peers_[turn_];
            for (; peer.mayBeAsked(now) && askedInTurn_ < kMaxOpenPerPeer; ++askedInTurn_, ++inFlight)
            {
                isWindowFull_ = inFlight >= kWindow;
                isOutOfRoom_ = !isWindowFull_ && !lanes_.haveRoom();
                if (isWindowFull_ || isOutOfRoom_)
                    return;
                lanes_.ask({turn_, peer.ask(now)}, peer.name(), now);
                progress_ = now;
            }
            askedInTurn_ = 0;
            turn_ = (turn_ + 1) % peers_.size();
        }
    }

    /// What is open while nothing comes is left out of the count. A bus that is merely slow keeps its window.
    void disregardIfStalled(Clock::time_point now)
    {
        if (!isWindowFull_ || now < progress_ + kStall)
            return;
        windowBegin_ = now;
        progress_ = now;
    }

    void onAnswer(const Question& question, const Answer& answer)
    {
        const auto now = Clock::now();
        progress_ = now;
        hasAnyoneAnswered_ = hasAnyoneAnswered_ || answer.kind != Answer::Kind::Gone;
        auto& peer = peers_[question.peer];
        if (peer.isPassedOver())
            return;
        if (answer.kind == Answer::Kind::Refusal)
            return peer.refused(question.place, now);
        peer.answered(now);
        if (answer.kind == Answer::Kind::Text)
            return onText(peer, question.place, answer.xml);
        // Most peers answer that they have no such object, which is as good an answer as any.
        orvanDoLog(Severity::DetailedTrace, "%s: %s", {}, peer.name(), answer.error->what());
        if (answer.kind == Answer::Kind::Gone)
            peer.leave();
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
                peer.passOverInTime(now);
        }
    }

    void passOverUnasked()
    {
        for (auto& peer : peers_)
        {
            if (peer.isOpen())
                peer.passOver("the bus has no connection left on which to ask it");
        }
    }

    /// When something is to be done even if no answer comes.
    [[nodiscard]] Clock::time_point nextEvent(Clock::time_point now) const
    {
        auto next = isWindowFull_ ? progress_ + kStall : now + kPlatformPatience;
        for (const auto& peer : peers_)
        {
            next = std::min(next, peer.deadline());
            if (!isWindowFull_ && !isOutOfRoom_)
                next = std::min(next, peer.nextTurn());
        }
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

    const std::string& interfaceName_;
    std::vector<Peer> peers_;
    std::size_t turn_ = 0;                                     ///< whose turn it is to be asked
    std::size_t askedInTurn_ = 0;                              ///< how much it has been asked in this turn
    Clock::time_point windowBegin_ = Clock::time_point::min(); ///< questions asked before it are not counted
    Clock::time_point progress_;                               ///< of the last question or answer
    bool isWindowFull_ = false;
    bool isOutOfRoom_ = false;
    bool hasAnyoneAnswered_ = false;
    QuestionLanes lanes_;
};

} // namespace

std::map<std::string, std::vector<std::string>> discover(const std::shared_ptr<sdbus::IConnection>& connection,
                                                         const QuestionLanes::Opener& openConnection,
                                                         const std::vector<std::string>& names,
                                                         const std::string& interfaceName)
{
    return Discovery{connection, openConnection, interfaceName}.run(names);
}

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
