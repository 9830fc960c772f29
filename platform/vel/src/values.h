#pragma once

#include "fields.h"

#include <vel/date.h>
#include <vel/version.h>

namespace Tolvek::Orvan::Vel
{

/// The date in the field of this letter; 0-0-0 without such a field.
/// \throws std::invalid_argument as Vel::parse
Date parseDate(const Fields& fields, char letter);

/// The version in the field of this letter; 0.0 without such a field.
/// \throws std::invalid_argument as Vel::parse
Version parseVersion(const Fields& fields, char letter);

} // namespace Tolvek::Orvan::Vel
