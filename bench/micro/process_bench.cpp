// What runs inside one process: the XML functions both ways, VEL parsing, the registry.

#include <deviceid/contribution_manager.h>
#include <deviceid/info.h>
#include <deviceid/vel_conversion.h>

#include <logger/configuration.h>
#include <vel/vel.h>

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

namespace
{

using namespace Tolvek::Orvan::DeviceId;

const std::string kVel = "VEL/T;U=Probe A;P=100200;S=0042;L=Plant 7;D=2021-03-05;E=2.10";

void parseVel(benchmark::State& state)
{
    while (state.KeepRunning())
        benchmark::DoNotOptimize(Tolvek::Orvan::Vel::Vel::parse(kVel));
}
BENCHMARK(parseVel);

void writeDocument(benchmark::State& state)
{
    while (state.KeepRunning())
        benchmark::DoNotOptimize(velToDeviceIdXml(kVel));
}
BENCHMARK(writeDocument);

void readVelOfDocument(benchmark::State& state)
{
    const auto xml = velToDeviceIdXml(kVel);
    while (state.KeepRunning())
        benchmark::DoNotOptimize(extractVelFromDeviceIdXml(xml));
}
BENCHMARK(readVelOfDocument);

void readInfoOfDocument(benchmark::State& state)
{
    const auto xml = velToDeviceIdXml(kVel);
    while (state.KeepRunning())
        benchmark::DoNotOptimize(Info::parse(xml));
}
BENCHMARK(readInfoOfDocument);

/// A registry with as many devices as the argument says.
class Registry : public benchmark::Fixture
{
public:
    void SetUp(const benchmark::State& state) override
    {
        for (int i = 0; i < state.range(0); ++i)
            tokens_.push_back(registry_->addDeviceId(
                false, "device " + std::to_string(i), [] { return kVel; }, [](const std::string&) {}));
    }
    void TearDown(const benchmark::State& /*state*/) override { tokens_.clear(); }

protected:
    std::shared_ptr<ContributionManager> registry_ = ContributionManager::instance();
    std::vector<std::unique_ptr<TokenIfc>> tokens_;
};

BENCHMARK_DEFINE_F(Registry, read)(benchmark::State& state)
{
    while (state.KeepRunning())
        benchmark::DoNotOptimize(registry_->deviceId("device 0"));
}
BENCHMARK_REGISTER_F(Registry, read)->Arg(1)->Arg(1000);

BENCHMARK_DEFINE_F(Registry, list)(benchmark::State& state)
{
    while (state.KeepRunning())
        benchmark::DoNotOptimize(registry_->deviceList());
}
BENCHMARK_REGISTER_F(Registry, list)->Arg(1)->Arg(1000);

} // namespace

int main(int argc, char** argv)
{
    using namespace Tolvek::Orvan::Log;
    Configuration::setSink(Severity::Error, [](const Record&) {});
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
