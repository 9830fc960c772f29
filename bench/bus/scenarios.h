#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace Bench
{

/// One measured ratio and what it is meant to be.
struct Finding
{
    std::string what;
    double value;
    double target;
    bool atMost; ///< whether the target is an upper or a lower bound
    nlohmann::json details;

    [[nodiscard]] bool isMet() const noexcept { return atMost ? value <= target : value >= target; }
};

using Findings = std::vector<Finding>;

/// How much to measure; a quick run is for trying the benchmark itself out.
struct Effort
{
    std::size_t rounds;
    std::size_t calls;
};

/// No bus, no peers.
Findings measureHostileDocuments(const Effort& effort);
Findings measureDiscovery(const Effort& effort);
/// More sizes of bus, for the plot and for the model of the cost.
Findings measureCurve(const Effort& effort);
Findings measureFatPeer(const Effort& effort);
Findings measureIdleClients(const Effort& effort);
Findings measureStoppedPeers(const Effort& effort);
Findings measureProviderLoad(const Effort& effort);
Findings measureManyClients(const Effort& effort);
Findings measureEndurance(const Effort& effort);
/// Whole processes that read one device.
Findings measureStartUp(const Effort& effort);

} // namespace Bench
