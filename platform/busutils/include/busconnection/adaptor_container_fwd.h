#pragma once

namespace Tolvek::Orvan::Utils::BusConnection
{

template <typename Interface, typename = void>
class AdaptorContainer;

} // namespace Tolvek::Orvan::Utils::BusConnection
