#include <vel/vel.h>

#include "fields.h"
#include "values.h"

#include <utility>

namespace Tolvek::Orvan::Vel
{

Vel Vel::parse(const std::string& text)
{
    Fields fields = splitFields(text);
    const auto take = [&fields](char letter) { return std::move(fields.byLetter[letter].text); };

    const Date date = parseDate(fields, 'D');
    const Version ecl = parseVersion(fields, 'E');
    return {NameGroup{take('U')}, ProductionGroup{take('P'), take('S'), take('L'), date, ecl},
            StartGroup{std::move(fields.type)}};
}

Vel::Vel(NameGroup name, ProductionGroup production, StartGroup start)
    : name_{std::make_shared<const NameGroup>(std::move(name))}
    , production_{std::make_shared<const ProductionGroup>(std::move(production))}
    , start_{std::make_shared<const StartGroup>(std::move(start))}
{
}

std::shared_ptr<const NameGroup> Vel::name() const
{
    return name_;
}

std::shared_ptr<const ProductionGroup> Vel::production() const
{
    return production_;
}

std::shared_ptr<const StartGroup> Vel::start() const
{
    return start_;
}

} // namespace Tolvek::Orvan::Vel
