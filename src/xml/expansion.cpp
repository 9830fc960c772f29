#include "xml/expansion.h"

#include "xml/limits.h"

#include <libxml/entities.h>

#include <cstring>
#include <map>
#include <new>
#include <stdexcept>

namespace Tolvek::Orvan::DeviceId
{

namespace
{

bool isText(const xmlNode& node)
{
    return node.type == XML_TEXT_NODE || node.type == XML_CDATA_SECTION_NODE;
}

/// Finds out how long a text becomes when its entities are replaced, without replacing them: a few of them suffice for
/// gigabytes. Each entity is measured once. Every node counts, because time goes by for empty ones, too.
class Measure
{
public:
    /// \throws std::invalid_argument beyond the limit, also when an entity contains itself
    std::size_t lengthOf(const xmlNode* list)
    {
        std::size_t length = 0;
        for (const xmlNode* node = list; node != nullptr; node = node->next)
        {
            length += 1 + lengthOfNode(*node);
            refuseBeyondLimit(length);
        }
        return length;
    }

private:
    static constexpr std::size_t beingMeasured = Limits::expandedText + 1;

    static void refuseBeyondLimit(std::size_t length)
    {
        if (length > Limits::expandedText)
            throw std::invalid_argument("Invalid Device ID XML");
    }

    static std::size_t lengthOf(const xmlChar* text)
    {
        return text != nullptr ? std::strlen(reinterpret_cast<const char*>(text)) : 0; // NOLINT(*-reinterpret-cast)
    }

    std::size_t lengthOfNode(const xmlNode& node)
    {
        if (node.type != XML_ENTITY_REF_NODE)
            return lengthOf(node.content) + lengthOf(node.children);
        const xmlEntity* const entity = xmlGetDocEntity(node.doc, node.name);
        return entity != nullptr ? lengthOfEntity(*entity) : lengthOf(node.content);
    }

    std::size_t lengthOfEntity(const xmlEntity& entity)
    {
        const auto [known, isNew] = lengths_.try_emplace(&entity, beingMeasured);
        if (isNew)
            known->second = lengthOf(entity.children);
        refuseBeyondLimit(known->second);
        return known->second;
    }

    std::map<const xmlEntity*, std::size_t> lengths_;
};

void append(std::optional<std::string>& text, const xmlChar* more)
{
    if (more == nullptr)
        return;
    if (!text)
        text.emplace();
    text->append(reinterpret_cast<const char*>(more)); // NOLINT(*-reinterpret-cast)
}

/// Does what `xmlNodeListGetString` does, which goes through all that it already has for each piece that it adds.
void appendText(std::optional<std::string>& text, const xmlNode* list)
{
    for (const xmlNode* node = list; node != nullptr; node = node->next)
    {
        if (isText(*node))
            append(text, node->content);
        if (node->type != XML_ENTITY_REF_NODE)
            continue;
        const xmlEntity* const entity = xmlGetDocEntity(node->doc, node->name);
        if (entity != nullptr)
            appendText(text, entity->children);
        else
            append(text, node->content);
    }
}

} // namespace

std::string contentOf(const xmlNode* node)
{
    if (node->type == XML_ATTRIBUTE_NODE)
        return ownTextOf(node).value_or(std::string{});
    Measure{}.lengthOf(node->children);
    const XmlText text{xmlNodeGetContent(node)};
    if (!text)
        throw std::bad_alloc{};
    return fromXml(text.get());
}

std::optional<std::string> ownTextOf(const xmlNode* node)
{
    Measure{}.lengthOf(node->children);
    std::optional<std::string> text;
    appendText(text, node->children);
    return text;
}

} // namespace Tolvek::Orvan::DeviceId
