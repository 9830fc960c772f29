#include "introspection.h"

#include <pugixml.hpp>

#include <algorithm>
#include <utility>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

namespace
{

bool isPathElement(std::string_view name)
{
    const auto allowed = [](char letter)
    {
        return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
               (letter >= '0' && letter <= '9') || letter == '_';
    };
    return !name.empty() && std::all_of(name.begin(), name.end(), allowed);
}

/// A parent may describe a child in full or only name it. Every object has interfaces, so a child that is shown with
/// one is described; the mere name of one is not taken for an object without interfaces.
bool isDescribed(const pugi::xml_node& node)
{
    return !node.child("interface").empty();
}

void describe(const pugi::xml_node& node, std::string_view interfaceName, std::size_t depthLeft,
              NodeDescription& description)
{
    for (const auto& interface : node.children("interface"))
        description.implements = description.implements || interfaceName == interface.attribute("name").value();
    for (const auto& child : node.children("node"))
    {
        const std::string_view name = child.attribute("name").value();
        if (!isPathElement(name))
            continue;
        auto& added = description.children.emplace_back();
        added.name = name;
        if (depthLeft > 0 && isDescribed(child))
            describe(child, interfaceName, depthLeft - 1, added.description.emplace_back());
    }
}

} // namespace

std::optional<NodeDescription> parseIntrospection(std::string_view xml, std::string_view interfaceName,
                                                  std::size_t maxDepth)
{
    pugi::xml_document document;
    if (!document.load_buffer(xml.data(), xml.size(), pugi::parse_minimal, pugi::encoding_utf8))
        return std::nullopt;
    const auto root = document.child("node");
    if (!root)
        return std::nullopt;
    NodeDescription description;
    describe(root, interfaceName, maxDepth, description);
    return description;
}

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
