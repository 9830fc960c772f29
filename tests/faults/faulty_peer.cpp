// A peer on the bus that goes wrong in one chosen way. Says "ready" on standard output when it owns its name.
//
//     faulty_peer NAME FAULT [ARGUMENT [COUNT]]
//
// With a COUNT it owns so many names: NAME0, NAME1 and so on.

#include "unchecked_answer.h"

#include <systemd/sd-bus.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <unistd.h>

namespace
{

struct BusCloser
{
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};
using Bus = std::unique_ptr<sd_bus, BusCloser>;

struct MessageCloser
{
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, MessageCloser>;

/// Answers one message; negative ends the peer.
using Behaviour = std::function<int(sd_bus_message*)>;

constexpr const char* kInterface = "com.tolvek.orvan.deviceid.interface";
constexpr const char* kProviderPath = "/com/tolvek/orvan/deviceid";

void check(int result, const std::string& what)
{
    if (result < 0)
        throw std::runtime_error{what + " failed with " + std::to_string(result)};
}

int answer(sd_bus_message* call, const std::string& xml)
{
    return sd_bus_reply_method_return(call, "s", xml.c_str());
}

bool isIntrospection(sd_bus_message* message)
{
    return sd_bus_message_is_method_call(message, "org.freedesktop.DBus.Introspectable", "Introspect") > 0;
}

std::string node(const std::string& content)
{
    return "<node>" + content + "</node>";
}

std::string interfaceElement()
{
    return std::string{"<interface name=\""} + kInterface + "\"/>";
}

/// An honest provider of no devices, as far as introspection goes.
std::string honest(const std::string& path)
{
    if (path == kProviderPath)
        return node(interfaceElement());
    if (path == "/com/tolvek/orvan")
        return node("<node name=\"deviceid\"/>");
    return node("");
}

std::string children(int count)
{
    std::string text;
    for (int i = 0; i < count; ++i)
        text += "<node name=\"n" + std::to_string(i) + "\"/>";
    return node(text);
}

std::string nested(int depth, const std::string& name = "n")
{
    std::string text;
    for (int i = 0; i < depth; ++i)
        text += "<node name=\"" + name + "\"><interface name=\"i\"/>";
    for (int i = 0; i < depth; ++i)
        text += "</node>";
    return node(text);
}

Behaviour always(std::string xml)
{
    return [xml = std::move(xml)](sd_bus_message* call) { return answer(call, xml); };
}

Behaviour honestAfter(std::chrono::milliseconds delay)
{
    return [delay](sd_bus_message* call)
    {
        std::this_thread::sleep_for(delay);
        return answer(call, honest(sd_bus_message_get_path(call)));
    };
}

/// Honest when it is asked what it is, and does `onCall` with every other call.
Behaviour honestUntilCalled(Behaviour onCall)
{
    return [onCall = std::move(onCall)](sd_bus_message* call)
    { return isIntrospection(call) ? answer(call, honest(sd_bus_message_get_path(call))) : onCall(call); };
}

int fail(sd_bus_message* call)
{
    return sd_bus_reply_method_errorf(call, "com.example.Broken", "every call fails");
}

int keepSilent(sd_bus_message* /*call*/)
{
    return 0;
}

/// Names many objects and then says no more; leaves when it is asked more than is fair before it has answered.
Behaviour silentAfterNaming(int count)
{
    constexpr int kFairlyOpen = 8;
    return [count, open = 0](sd_bus_message* call) mutable
    {
        const std::string path = sd_bus_message_get_path(call);
        if (path == "/com/tolvek/orvan")
            return answer(call, children(count));
        return ++open > kFairlyOpen ? -1 : 0;
    };
}

/// Answers nothing until so many questions are open at the same time, and then, after a while, all of them.
Behaviour answersTogether(int count)
{
    static constexpr std::chrono::milliseconds kWhile{50};
    return [count, open = std::make_shared<std::vector<Message>>()](sd_bus_message* call)
    {
        open->emplace_back(sd_bus_message_ref(call));
        if (open->size() == static_cast<std::size_t>(count))
        {
            std::this_thread::sleep_for(kWhile);
            for (const auto& question : *open)
                answer(question.get(), node(""));
            open->clear();
        }
        return 0;
    };
}

/// Describes the provider's object where its parent is asked.
Behaviour describesAtOnce()
{
    return always(node("<node name=\"deviceid\">" + interfaceElement() + "</node>"));
}

Behaviour answersWith(const char* error)
{
    return [error](sd_bus_message* call) { return sd_bus_reply_method_errorf(call, error, "says the peer"); };
}

/// Has ever more objects to tell of, and takes its time.
Behaviour endlessAfter(std::chrono::milliseconds delay)
{
    constexpr int kChildren = 8;
    return [delay](sd_bus_message* call)
    {
        std::this_thread::sleep_for(delay);
        return answer(call, children(kChildren));
    };
}

/// Says what it offers, and is gone when it is asked anything more.
Behaviour vanishingAfterTheFirstAnswer()
{
    return [isAnswered = false](sd_bus_message* call) mutable
    {
        if (std::exchange(isAnswered, true))
            return -1;
        check(answer(call, node(interfaceElement() + "<node name=\"deviceid\"/>")), "answering");
        return sd_bus_flush(sd_bus_message_get_bus(call));
    };
}

/// Never answers, but sends what nobody wants to whoever has asked, without end.
int flood(sd_bus_message* call)
{
    auto* const bus = sd_bus_message_get_bus(call);
    const std::string ballast(1024, 'x');
    for (;;)
    {
        sd_bus_message* signal = nullptr;
        check(sd_bus_message_new_signal(bus, &signal, "/", kInterface, "Flood"), "making a signal");
        const Message owner{signal};
        check(sd_bus_message_append(signal, "s", ballast.c_str()), "filling a signal");
        if (sd_bus_send_to(bus, signal, sd_bus_message_get_sender(call), nullptr) < 0 || sd_bus_flush(bus) < 0)
            return -1;
    }
}

/// All faults by name; `argument` is the number that some of them take.
std::map<std::string, std::function<Behaviour(int)>> faults()
{
    constexpr int kMany = 10'000;
    constexpr int kDeep = 5'000;
    constexpr int kLong = 70'000; // more than the D-Bus library takes for a path
    constexpr int kLevels = 4;
    constexpr std::size_t kHuge = 300UL * 1024;
    const auto notUtf8 = node("<node name=\"\xff\xc0\"/>");
    return {
        {"silent", [](int) { return keepSilent; }},
        {"slow", [](int ms) { return honestAfter(std::chrono::milliseconds{ms}); }},
        {"error", [](int) { return answersWith("com.example.Broken"); }},
        {"feigns-limits", [](int) { return answersWith("org.freedesktop.DBus.Error.LimitsExceeded"); }},
        {"feigns-absence", [](int) { return answersWith("org.freedesktop.DBus.Error.NoReply"); }},
        {"long-name", [](int) { return always(node("<node name=\"" + std::string(kLong, 'n') + "\"/>")); }},
        {"long-path", [](int) { return always(nested(kLevels, std::string(kLong / kLevels, 'n'))); }},
        {"not-xml", [](int) { return always("<node><interface name="); }},
        {"empty-text", [](int) { return always(""); }},
        {"other-type",
         [](int) { return [](sd_bus_message* call) { return sd_bus_reply_method_return(call, "u", 7U); }; }},
        {"huge", [](int) { return always(node(interfaceElement() + "<!--" + std::string(kHuge, 'x') + "-->")); }},
        {"deep", [](int) { return always(nested(kDeep)); }},
        {"many-children", [](int) { return always(children(kMany)); }},
        {"names-then-silent", silentAfterNaming},
        {"answers-together", answersTogether},
        {"describes-at-once", [](int) { return describesAtOnce(); }},
        {"endless-slow", [](int ms) { return endlessAfter(std::chrono::milliseconds{ms}); }},
        {"deeper-and-deeper", [](int) { return always(node("<node name=\"n\"/>")); }},
        {"endless", [](int) { return always(node("<node name=\"a\"/><node name=\"b\"/>")); }},
        {"odd-names",
         [](int)
         {
             return [](sd_bus_message* call)
             {
                 const std::string path = sd_bus_message_get_path(call);
                 return answer(call, path == kProviderPath
                                         ? honest(path)
                                         : node("<node name=\"..\"/><node name=\"\"/><node/><node name=\"/x\"/>"
                                                "<node name=\"a b\"/><node name=\"deviceid\"/>"));
             };
         }},
        {"kills-process", [](int process) { return [process](sd_bus_message*) { return kill(process, SIGKILL); }; }},
        {"stops-process", [](int process) { return [process](sd_bus_message*) { return kill(process, SIGSTOP); }; }},
        {"vanish", [](int) { return [](sd_bus_message*) { return -1; }; }},
        {"vanish-later", [](int) { return vanishingAfterTheFirstAnswer(); }},
        {"flood", [](int) { return flood; }},
        {"not-utf8",
         [notUtf8](int) { return [notUtf8](sd_bus_message* call) { return answerUnchecked(call, notUtf8); }; }},
        {"silent-calls", [](int) { return honestUntilCalled(keepSilent); }},
        {"failing-calls", [](int) { return honestUntilCalled(fail); }},
    };
}

int onMessage(sd_bus_message* message, void* userdata, sd_bus_error* /*error*/)
{
    if (sd_bus_message_is_method_call(message, nullptr, nullptr) <= 0)
        return 0;
    const auto& behaviour = *static_cast<const Behaviour*>(userdata);
    if (behaviour(message) < 0)
        _exit(0);
    return 1;
}

Bus openBus()
{
    sd_bus* bus = nullptr;
    check(sd_bus_open_user(&bus), "opening the bus");
    return Bus{bus};
}

void run(const std::vector<std::string>& names, Behaviour behaviour)
{
    const auto bus = openBus();
    check(sd_bus_add_filter(bus.get(), nullptr, onMessage, &behaviour), "adding a filter");
    for (const auto& name : names)
        check(sd_bus_request_name(bus.get(), name.c_str(), 0), "owning " + name);
    std::cout << "ready" << std::endl; // NOLINT(performance-avoid-endl): the reader waits for it
    for (;;)
    {
        const int handled = sd_bus_process(bus.get(), nullptr);
        check(handled, "processing");
        if (handled == 0)
            check(sd_bus_wait(bus.get(), UINT64_MAX), "waiting");
    }
}

std::vector<std::string> namesOf(const std::string& name, int count)
{
    if (count == 0)
        return {name};
    std::vector<std::string> names(static_cast<std::size_t>(count), name);
    for (int i = 0; i < count; ++i)
        names[static_cast<std::size_t>(i)] += std::to_string(i);
    return names;
}

} // namespace

int main(int argc, char** argv)
try
{
    if (argc < 3)
        throw std::runtime_error{"usage: faulty_peer NAME FAULT [ARGUMENT [COUNT]]"};
    const auto known = faults();
    const auto fault = known.find(argv[2]);
    if (fault == known.end())
        throw std::runtime_error{std::string{"unknown fault "} + argv[2]};
    const auto number = [&](int index) { return argc > index ? std::atoi(argv[index]) : 0; }; // NOLINT(cert-err34-c)
    run(namesOf(argv[1], number(4)), fault->second(number(3)));
}
catch (const std::exception& error)
{
    std::cerr << "faulty_peer: " << error.what() << '\n';
    return EXIT_FAILURE;
}
