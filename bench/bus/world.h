#pragma once

#include "support/private_bus.h"
#include "support/process.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace Bench
{

inline const std::string kNamePrefix = "com.tolvek.orvan.deviceid.";

/// A private bus with so many well-known names on it, some of them providers, each a process of its own.
class World
{
public:
    /// \param names     all well-known names
    /// \param providers those among them that are providers of one device "d"
    World(std::size_t names, std::size_t providers);

    void addProvider(const std::string& serviceName, const std::vector<std::string>& devices);
    /// \param count processes that export `objects` objects, each with `methods` methods
    void addForeign(std::size_t count, std::size_t objects, std::size_t methods);
    /// A provider on bare sd-bus that answers with so many bytes.
    void addRawProvider(const std::string& serviceName, std::size_t bytes);

    /// The process that was added last.
    Tests::Process& last() { return *peers_.back(); }
    void removeLast() { peers_.pop_back(); }

    static std::string busName(const std::string& serviceName) { return kNamePrefix + serviceName; }

private:
    Tests::PrivateBus bus_;
    std::vector<std::unique_ptr<Tests::Process>> peers_;
};

} // namespace Bench
