/// What a peer answers when it is asked for its objects.
#include "introspection.h"
#include "input.h"

#include <algorithm>

using Tolvek::Orvan::Utils::BusConnection::Dbus::NodeDescription;
using Tolvek::Orvan::Utils::BusConnection::Dbus::parseIntrospection;

namespace
{

constexpr std::size_t maxDepth = 8;

void check(const NodeDescription& node, std::size_t depthLeft)
{
    Fuzz::require(depthLeft > 0, "no description is deeper than asked for");
    for (const auto& child : node.children)
    {
        Fuzz::require(!child.name.empty() && child.name.find_first_of("/. \n") == std::string::npos &&
                          child.name.find('\0') == std::string::npos,
                      "each name can stand in an object path");
        std::for_each(child.description.begin(), child.description.end(),
                      [&](const NodeDescription& described) { check(described, depthLeft - 1); });
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto description = parseIntrospection(Fuzz::textOf(data, size), "com.example.Interface", maxDepth);
    if (description)
        check(*description, maxDepth + 1);
    return 0;
}
