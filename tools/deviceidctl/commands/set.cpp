#include "commands/commands.h"

#include "bus_errors.h"
#include "common/text.h"
#include "devices.h"
#include "failure.h"
#include "fields.h"
#include "identity_input.h"
#include "interrupt_notice.h"
#include "library_log.h"
#include "output.h"

#include <string_view>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

namespace
{

/// Of two providers with one name the library reaches only one; nobody should write without knowing which.
void requireUnambiguous(const Devices& bus, const Target& target)
{
    if (bus.providersNamed(target.service->name()) > 1)
        throw Failure{Failed, "ambiguous",
                      "nothing written: " + target.service->name() + " has several objects with devices, so " +
                          target.id + " is ambiguous; its provider must be mended"};
}

/// A device that cannot be read may be mended by writing to it, unless there is no such device.
Device readPresent(const Target& target)
{
    auto device = readDevice(*target.service, target.deviceId);
    if (device.status == 1)
        throw Failure{NotFound, "not-found", "no device " + target.id + ": " + device.error};
    return device;
}

void write(const Target& target, const std::string& xml)
{
    LibraryLog::takeError();
    const int status = target.service->setDeviceId(target.deviceId, xml);
    const auto attempt = "cannot write " + target.id;
    if (status == 1)
        throw Failure{NotFound, "not-found", attempt + ": its provider does not have it any more"};
    if (status == 2)
        throw Failure{Failed, "device",
                      attempt + ": its provider could not store it; is it read-only, or is a VEL string needed? The "
                                "log of the provider says why"};
    if (status == 0)
        return;
    const auto failure = failedCall(attempt, LibraryLog::takeError());
    const std::string_view kind{failure.kind()};
    if (kind == "no-reply" || kind == "provider-gone")
        throw Failure{failure.exitCode(), failure.kind(),
                      std::string{failure.what()} + "; it has its old identity or the new one, 'show' tells which"};
    throw Failure{failure};
}

void requireWritten(const Identity& written, const Device& read)
{
    if (!read.identity)
        throw Failure{Failed, "mismatch", "written, but " + read.id + " " + read.error};
    const auto differences = withoutRepetition(changesBetween(valuesOf(written), valuesOf(*read.identity)));
    if (differences.empty())
        return;
    std::string list;
    for (const auto& difference : differences)
        list += (list.empty() ? "" : ", ") + describe(difference);
    throw Failure{Failed, "mismatch", "written, but " + read.id + " reads otherwise: " + list};
}

std::string report(const Device& before, const Identity& after, bool isDryRun)
{
    std::string text = printable(before.id) + (isDryRun ? " would change:\n" : " changed:\n");
    if (!before.identity)
        return text + "  before: " + printable(before.error) + "\n";
    const auto changes = withoutRepetition(changesBetween(valuesOf(*before.identity), valuesOf(after)));
    if (changes.empty())
        return printable(before.id) + (isDryRun ? " would not change\n" : ": nothing changed\n");
    for (const auto& change : changes)
        text += "  " + describe(change) + "\n";
    return text;
}

} // namespace

int set(const Options& options)
{
    const auto input = readIdentity(options.file, options.form);
    const Devices bus{options.bus};
    const auto target = bus.find(options.id);
    requireUnambiguous(bus, target);
    const auto before = readPresent(target);
    if (!options.dryRun)
    {
        const InterruptNotice notice{"\n" + errorLine({Failed, "interrupted",
                                                       "interrupted: " + target.id +
                                                           " has its old identity or the new one; deviceidctl show "
                                                           "tells which"},
                                                      options.json)};
        write(target, input.identity.xml);
        requireWritten(input.identity, readDevice(*target.service, target.deviceId));
    }
    writeToStandardOutput(report(before, input.identity, options.dryRun));
    return Done;
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
