// Runs dbus-broker without a service manager: listens on a socket, hands it over with a policy that allows everything,
// and prints the address. The broker ends with this process.
//
//     broker_controller DBUS-BROKER SOCKET-PATH

#include <systemd/sd-bus.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{

/// Who may own, send and receive what: per user, per group, security labels, and the kind of bus.
constexpr const char* kPolicyType = "(a(u(bta(btbs)a(btssssuutt)a(btssssuutt)))"
                                    "a(buu(bta(btbs)a(btssssuutt)a(btssssuutt)))"
                                    "a(ss)bs)";

struct BusUnref
{
    void operator()(sd_bus* bus) const { sd_bus_unref(bus); }
};
struct MessageUnref
{
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Bus = std::unique_ptr<sd_bus, BusUnref>;
using Message = std::unique_ptr<sd_bus_message, MessageUnref>;

int checked(int result, const char* what)
{
    if (result < 0)
        throw std::system_error{-result, std::generic_category(), what};
    return result;
}

int checkedCall(int result, const char* what)
{
    return checked(result < 0 ? -errno : result, what);
}

int listenAt(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path))
        throw std::invalid_argument{path + " is too long for a socket"};
    path.copy(address.sun_path, path.size());
    const int listener = checkedCall(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "socket");
    checkedCall(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), // NOLINT
                path.c_str());
    checkedCall(listen(listener, SOMAXCONN), "listen");
    return listener;
}

/// Starts the broker. \return this end of the connection over which it is controlled
int startBroker(const char* program)
{
    int ends[2] = {-1, -1}; // NOLINT(modernize-avoid-c-arrays): as socketpair() takes them
    checkedCall(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), "socketpair");
    if (checkedCall(fork(), "fork") != 0)
    {
        close(ends[1]);
        return ends[0];
    }
    const int controller = dup(ends[1]); // without close-on-exec
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const auto number = std::to_string(controller);
    execl(program, program, "--controller", number.c_str(), "--machine-id", "0123456789abcdef0123456789abcdef",
          nullptr);
    _exit(EXIT_FAILURE);
}

void appendPolicy(sd_bus_message* call)
{
    constexpr std::uint32_t kEverybody = UINT32_MAX;
    constexpr std::uint64_t kPriority = 1;
    checked(sd_bus_message_append(
                call, "v", kPolicyType,
                // users: one entry for everybody, with rules for connecting, owning, sending, receiving
                1, kEverybody, 1, kPriority, 1, 1, kPriority, 1, "", 1, 1, kPriority, "", "", "", "", 0U, 0U,
                std::uint64_t{0}, UINT64_MAX, 1, 1, kPriority, "", "", "", "", 0U, 0U, std::uint64_t{0}, UINT64_MAX,
                // groups and labels: none
                0, 0, 0, "session"),
            "writing the policy");
}

Bus control(int connection, int listener)
{
    sd_bus* raw = nullptr;
    checked(sd_bus_new(&raw), "making the connection");
    Bus bus{raw};
    checked(sd_bus_set_fd(bus.get(), connection, connection), "using the connection");
    checked(sd_bus_start(bus.get()), "starting the connection");

    sd_bus_message* rawCall = nullptr;
    checked(sd_bus_message_new_method_call(bus.get(), &rawCall, nullptr, "/org/bus1/DBus/Broker",
                                           "org.bus1.DBus.Broker", "AddListener"),
            "making the call");
    const Message call{rawCall};
    checked(sd_bus_message_append(call.get(), "oh", "/org/bus1/DBus/Listener/0", listener), "writing the listener");
    appendPolicy(call.get());
    checked(sd_bus_call(bus.get(), call.get(), 0, nullptr, nullptr), "handing the listener over");
    return bus;
}

} // namespace

int main(int argc, char** argv)
try
{
    if (argc != 3)
        throw std::invalid_argument{"usage: broker_controller DBUS-BROKER SOCKET-PATH"};
    const int listener = listenAt(argv[2]);
    const auto bus = control(startBroker(argv[1]), listener);
    std::cout << "unix:path=" << argv[2] << std::endl; // NOLINT(performance-avoid-endl): the reader waits for it
    for (;;)
    {
        if (checked(sd_bus_process(bus.get(), nullptr), "processing") == 0)
            checked(sd_bus_wait(bus.get(), UINT64_MAX), "waiting");
    }
}
catch (const std::exception& error)
{
    std::cerr << "broker_controller: " << error.what() << '\n';
    return EXIT_FAILURE;
}
