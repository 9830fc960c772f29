#include "device.h"

#include "file_store.h"
#include "memory_store.h"

#include <exception>
#include <stdexcept>
#include <utility>

namespace Tolvek::Orvan::DeviceId::Provider
{

Device::Device(DeviceSettings settings, const Report& report)
    : settings_{std::move(settings)}
    , report_{report}
{
}

void Device::cleanUp() const
{
    if (!settings_.isReadOnly && !isMemory())
        removeLeftOver(settings_.path);
}

bool Device::isMemory() const
{
    return settings_.kind == Kind::Memory || (settings_.kind == Kind::ByFileSystem && isKernelMemory(settings_.path));
}

std::string Device::stored() const
{
    std::string content = isMemory() ? readMemory(settings_.path) : readIdentityFile(settings_.path);
    if (settings_.form == Form::Vel)
        content = Tools::withoutLineEnd(std::move(content));
    Tools::validateIdentity(content, settings_.form, settings_.path);
    return content;
}

std::string Device::read()
{
    try
    {
        std::string identity = stored();
        if (!std::exchange(failure_, "").empty())
            report_.information("device '" + settings_.id + "' can be read again");
        return identity;
    }
    catch (const std::exception& error)
    {
        // Every reader would bring the same line again.
        if (std::exchange(failure_, error.what()) != error.what())
            report_.warningOfDevice("device '" + settings_.id + "' cannot be read: " + error.what());
        throw;
    }
}

void Device::write(const std::string& identity) const
{
    try
    {
        if (settings_.isReadOnly)
            throw std::runtime_error{"it is read-only by configuration"};
        store(identity);
        report_.information("device '" + settings_.id + "' has a new identity");
    }
    catch (const std::exception& error)
    {
        report_.warningOfDevice("device '" + settings_.id + "' cannot be written: " + error.what());
        throw;
    }
}

void Device::store(const std::string& identity) const
{
    Tools::validateIdentity(identity, settings_.form, "the new identity");
    // A line of text for those who edit the file. In a memory only where reading would take off an end that belongs to
    // the identity.
    const bool needsLineEnd = settings_.form == Form::Vel && (!isMemory() || identity.back() == '\n');
    const std::string content = needsLineEnd ? identity + '\n' : identity;
    if (isMemory())
        writeMemory(settings_.path, content);
    else
        replaceIdentityFile(settings_.path, content);
}

} // namespace Tolvek::Orvan::DeviceId::Provider
