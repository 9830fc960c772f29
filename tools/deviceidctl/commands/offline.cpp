#include "commands/commands.h"

#include "common/input.h"
#include "common/text.h"
#include "failure.h"
#include "fields.h"
#include "identity_input.h"
#include "output.h"

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

int convert(const Options& options)
{
    const auto input = readIdentity(options.file, std::nullopt);
    if (options.form == input.form)
        writeToStandardOutput(input.text);
    else if (options.form == Form::Xml)
        writeToStandardOutput(input.identity.xml);
    else if (input.identity.vel)
        writeToStandardOutput(*input.identity.vel);
    else
        throw Failure{InvalidInput, "no-vel",
                      inputName(options.file) + ": field vel: expected one element \"vel\" with the VEL string"};
    return Done;
}

int validate(const Options& options)
{
    const auto input = readIdentity(options.file, std::nullopt);
    writeToStandardOutput(printable(inputName(options.file)) + ": valid " +
                          (input.form == Form::Vel ? "VEL string" : "device-ID XML") + "\n");
    return input.identity.warnings.empty() ? Done : Remarks;
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
