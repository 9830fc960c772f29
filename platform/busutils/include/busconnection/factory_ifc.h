#pragma once

#include <busconnection/export.h>

#include <memory>

namespace Tolvek::Orvan::Utils::BusConnection
{

/// What the objects of every kind of bus need of the factory that made them: a share in it, so that its connection
/// lives as long as they do.
class BUSUTILS_EXPORT FactoryIfc
{
public:
    FactoryIfc() = default;
    FactoryIfc(const FactoryIfc&) = delete;
    FactoryIfc(FactoryIfc&&) = delete;
    FactoryIfc& operator=(const FactoryIfc&) = delete;
    FactoryIfc& operator=(FactoryIfc&&) = delete;
    virtual ~FactoryIfc();

    /// A share in this factory. \throws std::bad_weak_ptr if no shared pointer owns the factory
    virtual std::shared_ptr<FactoryIfc> sharedFromBase() = 0;
};

} // namespace Tolvek::Orvan::Utils::BusConnection
