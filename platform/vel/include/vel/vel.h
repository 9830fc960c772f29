#pragma once

#include <vel/export.h>
#include <vel/name_group.h>
#include <vel/production_group.h>
#include <vel/start_group.h>

#include <memory>
#include <string>

namespace Tolvek::Orvan::Vel
{

/// A parsed VEL string:
///
///     VEL/<velType>;U=<unit>;P=<productID>;S=<serialNumber>;L=<location>;D=<YYYY-MM-DD>;E=<major>.<minor>
///
/// The fields come in any order, each at most once, and may be missing; so may the last semicolon. A field is one
/// ASCII letter, "=" and a value; letters other than these six are accepted and ignored. In the type and in values a
/// backslash makes the next byte plain ("\;", "\\"); every other byte stands for itself.
///
/// Immutable, and a copy shares its groups: values may be read and copied from several threads at once.
class VEL_EXPORT Vel
{
public:
    /// \throws std::invalid_argument naming the field, the byte position (from 0) and what was expected there
    [[nodiscard]] static Vel parse(const std::string& text);

    /// The groups of the string; never null.
    [[nodiscard]] std::shared_ptr<const NameGroup> name() const;
    [[nodiscard]] std::shared_ptr<const ProductionGroup> production() const;
    [[nodiscard]] std::shared_ptr<const StartGroup> start() const;

private:
    Vel(NameGroup name, ProductionGroup production, StartGroup start);

    std::shared_ptr<const NameGroup> name_;
    std::shared_ptr<const ProductionGroup> production_;
    std::shared_ptr<const StartGroup> start_;
};

} // namespace Tolvek::Orvan::Vel
