#include "fields.h"

#include "common/text.h"

#include <algorithm>
#include <string_view>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

namespace
{

constexpr std::string_view kVelKey = "vel";

template <auto Member>
std::optional<std::string> memberOf(const Identity& identity)
{
    return identity.*Member;
}

std::string shown(const std::optional<std::string>& value)
{
    if (!value)
        return "(none)";
    return value->empty() ? "(empty)" : printable(*value);
}

} // namespace

const std::vector<Field>& identityFields()
{
    static const std::vector<Field> fields{
        {"partNumber", "part number", "part", &memberOf<&Identity::partNumber>},
        {"serialNumber", "serial number", "serial", &memberOf<&Identity::serialNumber>},
        {"name", "name", "name", &memberOf<&Identity::name>},
        {"producedAt", "produced at", "place", &memberOf<&Identity::producedAt>},
        {"producedOn", "produced on", "date", &memberOf<&Identity::producedOn>},
        {"velType", "VEL type", "VEL type", &memberOf<&Identity::velType>},
        {"ecl", "ecl", "ecl", &memberOf<&Identity::ecl>},
        {kVelKey.data(), "VEL", "VEL", &memberOf<&Identity::vel>},
    };
    return fields;
}

FieldValues valuesOf(const Identity& identity)
{
    FieldValues values;
    for (const auto& field : identityFields())
        values.emplace_back(&field, field.value(identity));
    return values;
}

std::vector<FieldChange> changesBetween(const FieldValues& before, const FieldValues& after)
{
    std::vector<FieldChange> changes;
    for (std::size_t i = 0; i < before.size(); ++i)
    {
        if (before[i].second != after[i].second)
            changes.push_back({before[i].first, before[i].second, after[i].second});
    }
    return changes;
}

std::string describe(const FieldChange& change)
{
    return std::string{change.field->shortTitle} + " " + shown(change.before) + " → " + shown(change.after);
}

std::vector<FieldChange> withoutRepetition(std::vector<FieldChange> changes)
{
    const auto isVel = [](const FieldChange& change) { return change.field->key == kVelKey; };
    if (!std::all_of(changes.begin(), changes.end(), isVel))
        changes.erase(std::remove_if(changes.begin(), changes.end(), isVel), changes.end());
    return changes;
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
