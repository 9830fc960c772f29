#include "json_output.h"

#include "fields.h"

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

namespace
{

/// To be raised when a document changes in a way that its readers would stumble over.
constexpr int kVersion = 1;
constexpr int kIndentation = 2;

std::string dump(const Json& document, int indentation)
{
    // In ASCII: terminals act on some of the other characters, and JSON may be looked at on one, too.
    return document.dump(indentation, ' ', true, Json::error_handler_t::replace) + "\n";
}

} // namespace

Json makeDocument(const char* format)
{
    return {{"format", std::string{"deviceidctl-"} + format}, {"version", kVersion}};
}

Json jsonOf(const Device& device)
{
    Json json{{"id", device.id}, {"provider", device.provider}, {"main", device.isMain}};
    if (!device.identity)
    {
        json["error"] = device.error;
        return json;
    }
    auto& identity = json["identity"];
    for (const auto& [field, value] : valuesOf(*device.identity))
        identity[field->key] = value ? Json(*value) : Json(nullptr);
    return json;
}

Json jsonOf(const std::vector<LibraryLog::PassedOver>& passedOver)
{
    auto list = Json::array();
    for (const auto& peer : passedOver)
        list.push_back({{"name", peer.busName}, {"reason", peer.reason}});
    return list;
}

std::string jsonText(const Json& document)
{
    return dump(document, kIndentation);
}

std::string jsonLine(const Json& document)
{
    return dump(document, -1);
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
