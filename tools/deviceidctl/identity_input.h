#pragma once

#include "common/identity_document.h"
#include "options.h"

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

/// An identity as a file holds it: a VEL string is without the line end of the file.
struct IdentityInput
{
    Form form;
    std::string text;
    Identity identity;
};

/// Reads and validates the input of a command; says what is odd about it.
/// \param form as which to take it; by its beginning if there is none
/// \throws Failure
IdentityInput readIdentity(const std::string& file, std::optional<Form> form);

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
