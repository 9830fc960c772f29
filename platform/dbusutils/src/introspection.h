#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

/// What a peer says of one of its objects.
struct NodeDescription
{
    struct Child
    {
        std::string name;
        /// What the parent already says of the child; without it the child has to be asked itself.
        std::vector<NodeDescription> description;
    };

    bool implements = false;
    std::vector<Child> children;
};

/// Reads an answer to Introspect: whether the object implements `interfaceName`, and its children.
///
/// The answer is foreign input. Children whose names no object path can hold are left out; of those that are nested
/// more than `maxDepth` levels deep only the names of the uppermost are taken.
/// \return nothing if the text is not XML of a node
std::optional<NodeDescription> parseIntrospection(std::string_view xml, std::string_view interfaceName,
                                                  std::size_t maxDepth);

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
