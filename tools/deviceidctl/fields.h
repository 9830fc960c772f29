#pragma once

#include "common/identity_document.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

/// One field of an identity: what it is called in JSON, in lists, and within a sentence.
struct Field
{
    const char* key;
    const char* title;
    const char* shortTitle;
    std::optional<std::string> (*value)(const Identity& identity);
};

/// All fields, in the order in which they are shown.
const std::vector<Field>& identityFields();

/// The values of all fields in their order; a field that the identity does not have has none.
using FieldValues = std::vector<std::pair<const Field*, std::optional<std::string>>>;

FieldValues valuesOf(const Identity& identity);

struct FieldChange
{
    const Field* field = nullptr;
    std::optional<std::string> before;
    std::optional<std::string> after;
};

/// The fields that differ.
std::vector<FieldChange> changesBetween(const FieldValues& before, const FieldValues& after);

/// "serial 0042 → 0043", for a terminal.
std::string describe(const FieldChange& change);

/// The changes to tell to a person: that of the VEL string only if nothing else has changed, because it repeats all
/// others.
std::vector<FieldChange> withoutRepetition(std::vector<FieldChange> changes);

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
