#pragma once

#include "common/input.h"
#include "support/bus_test.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace Tests
{

using Arguments = std::vector<std::string>;

inline const std::string kDemo = "com.tolvek.orvan.deviceid.demo";
inline const std::string kVel = "VEL/T;U=Base Unit;P=100200;S=0042;L=Plant 7;D=2021-03-05;E=2.10";

/// A document without a VEL string.
inline std::string document(const std::string& part, const std::string& serial)
{
    return "<deviceid partNo='" + part + "' serialNo='" + serial +
           "' name='Probe'><production location='Plant 9' when='2022-11-30T00:00:00'/></deviceid>";
}

/// What a run of a program left.
struct Outcome
{
    int exitCode = -1;
    std::string output;
    std::string errors;

    [[nodiscard]] nlohmann::json json() const { return nlohmann::json::parse(output); }
};

/// A provider within the test that does what the test says, on one or several objects.
class FakeProvider
{
public:
    using Answer = std::tuple<std::int32_t, std::string, bool>;

    struct Behaviour
    {
        std::function<std::vector<std::string>()> list = [] { return std::vector<std::string>{"d"}; };
        std::function<Answer(const std::string&)> read = [](const std::string&) { return Answer{0, {}, false}; };
        std::function<std::int32_t(const std::string&, const std::string&)> write =
            [](const std::string&, const std::string&) { return 0; };
    };

    FakeProvider(const std::string& name, const Behaviour& behaviour,
                 const std::vector<std::string>& paths = {kObjectPath})
        : connection_{sdbus::createSessionBusConnection("com.tolvek.orvan.deviceid." + name)}
    {
        for (const auto& path : paths)
        {
            objects_.push_back(sdbus::createObject(*connection_, path));
            auto& object = *objects_.back();
            // NOLINTBEGIN(clang-analyzer-cplusplus.NewDeleteLeaks): not seen through the library's templates
            object.registerMethod("deviceList").onInterface(kInterface).implementedAs(behaviour.list);
            object.registerMethod("deviceId").onInterface(kInterface).implementedAs(behaviour.read);
            object.registerMethod("setDeviceId").onInterface(kInterface).implementedAs(behaviour.write);
            object.finishRegistration();
            // NOLINTEND(clang-analyzer-cplusplus.NewDeleteLeaks)
        }
        connection_->enterEventLoopAsync();
    }

    ~FakeProvider() { connection_->leaveEventLoop(); }
    FakeProvider(const FakeProvider&) = delete;
    FakeProvider(FakeProvider&&) = delete;
    FakeProvider& operator=(const FakeProvider&) = delete;
    FakeProvider& operator=(FakeProvider&&) = delete;

private:
    std::unique_ptr<sdbus::IConnection> connection_;
    std::vector<std::unique_ptr<sdbus::IObject>> objects_;
};

/// Runs deviceidctl on a bus of the test's own.
class CtlTest : public BusTest
{
protected:
    /// \param input what stands on its standard input
    Outcome run(const Arguments& arguments, const std::string& input = {}) const
    {
        return finish(*start(arguments, input));
    }

    std::unique_ptr<Process> start(const Arguments& arguments, const std::string& input = {}) const
    {
        std::ofstream{file("in")} << input;
        std::vector<std::string> command{"sh", "-c",           R"(cd "$1"; shift; exec "$@" <in >out 2>err)",
                                         "sh", folder_.path(), DEVICEIDCTL};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return std::make_unique<Process>(command);
    }

    Outcome finish(Process& process) const
    {
        const int exitCode = process.wait();
        return {exitCode, content("out"), content("err")};
    }

    /// What a shell command prints, deviceidctl being on its path.
    std::string shell(const std::string& script) const
    {
        Process process{{"sh", "-c", R"(cd "$1"; PATH=${2%/*}:$PATH; export PATH; exec bash -c "$3" >out 2>&1)", "sh",
                         folder_.path(), DEVICEIDCTL, script}};
        process.wait();
        return content("out");
    }

    [[nodiscard]] std::string file(const std::string& name) const { return folder_.path() / name; }

    [[nodiscard]] std::string content(const std::string& name) const
    {
        return Tolvek::Orvan::DeviceId::Tools::readInput(file(name));
    }

private:
    TemporaryFolder folder_;
};

} // namespace Tests
