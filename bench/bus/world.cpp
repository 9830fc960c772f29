#include "world.h"

namespace Bench
{

namespace
{

/// What an ordinary service exports.
constexpr std::size_t kObjects = 4;
constexpr std::size_t kMethods = 6;

} // namespace

World::World(std::size_t names, std::size_t providers)
{
    for (std::size_t i = 0; i < providers; ++i)
        addProvider("p" + std::to_string(i), {"d=<deviceid/>"});
    if (names > providers)
        addForeign(names - providers, kObjects, kMethods);
}

void World::addProvider(const std::string& serviceName, const std::vector<std::string>& devices)
{
    std::vector<std::string> command{TEST_PROVIDER, serviceName};
    command.insert(command.end(), devices.begin(), devices.end());
    peers_.push_back(std::make_unique<Tests::Process>(command));
    last().waitUntilReady();
}

void World::addForeign(std::size_t count, std::size_t objects, std::size_t methods)
{
    peers_.push_back(std::make_unique<Tests::Process>(std::vector<std::string>{
        RAW_PEER, "foreign", std::to_string(count), std::to_string(objects), std::to_string(methods)}));
    last().waitUntilReady();
}

void World::addRawProvider(const std::string& serviceName, std::size_t bytes)
{
    peers_.push_back(std::make_unique<Tests::Process>(
        std::vector<std::string>{RAW_PEER, "provider", busName(serviceName), std::to_string(bytes)}));
    last().waitUntilReady();
}

} // namespace Bench
