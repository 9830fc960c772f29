#include "identity_input.h"

#include "common/input.h"
#include "failure.h"
#include "output.h"

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

IdentityInput readIdentity(const std::string& file, std::optional<Form> form)
try
{
    auto text = readInput(file);
    const auto source = inputName(file);
    const auto found = form ? form : recogniseForm(text);
    if (!found)
        throw InvalidIdentity{source + ": byte 0: expected \"VEL/\" or an XML document"};
    if (*found == Form::Vel)
        text = withoutLineEnd(std::move(text));
    auto identity = validateIdentity(text, *found, source);
    for (const auto& warning : identity.warnings)
        warn(warning);
    return {*found, std::move(text), std::move(identity)};
}
catch (const UnreadableInput& error)
{
    throw Failure{InvalidInput, "unreadable-input", error.what()};
}
catch (const InvalidIdentity& error)
{
    throw Failure{InvalidInput, "invalid-identity", error.what()};
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
