#pragma once

#include <busconnection/export.h>

namespace Tolvek::Orvan::Utils::BusConnection
{

/// Base of everything that is served on a bus or reached through one; it carries no operation, only the identity that
/// factories need to tell one kind of object from another.
class BUSUTILS_EXPORT BusObject
{
public:
    BusObject() = default;
    virtual ~BusObject();

protected:
    BusObject(const BusObject&) = default;
    BusObject(BusObject&&) = default;
    BusObject& operator=(const BusObject&) = default;
    BusObject& operator=(BusObject&&) = default;
};

} // namespace Tolvek::Orvan::Utils::BusConnection
