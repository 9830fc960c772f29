#pragma once

#include <busconnection/dbus/export.h>

#include <sdbus-c++/sdbus-c++.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

/// The boundary between method handlers and the D-Bus library.
///
/// The D-Bus library turns only its own error into an error reply; any other exception that leaves a handler ends the
/// process or the connection. Methods that are registered through this object have their handlers wrapped, argument
/// reading and reply writing included: whatever they throw becomes an error reply whose text can travel on the bus.
/// Everything else goes to the wrapped object unchanged.
///
/// Lives only while methods are being registered; the handlers do not refer to it.
class DBUSUTILS_EXPORT HandlerBoundary final : public sdbus::IObject
{
public:
    explicit HandlerBoundary(sdbus::IObject& object)
        : object_(object)
    {
    }

    using IObject::emitSignal;
    using IObject::registerMethod;
    using IObject::registerProperty;
    using IObject::registerSignal;
    using IObject::setInterfaceFlags;

    void registerMethod(const std::string& interfaceName, std::string methodName, std::string inputSignature,
                        std::string outputSignature, sdbus::method_callback methodCallback,
                        sdbus::Flags flags) override;
    void registerMethod(const std::string& interfaceName, std::string methodName, std::string inputSignature,
                        const std::vector<std::string>& inputNames, std::string outputSignature,
                        const std::vector<std::string>& outputNames, sdbus::method_callback methodCallback,
                        sdbus::Flags flags) override;

    void registerSignal(const std::string& interfaceName, std::string signalName, std::string signature,
                        sdbus::Flags flags) override;
    void registerSignal(const std::string& interfaceName, std::string signalName, std::string signature,
                        const std::vector<std::string>& paramNames, sdbus::Flags flags) override;
    void registerProperty(const std::string& interfaceName, std::string propertyName, std::string signature,
                          sdbus::property_get_callback getCallback, sdbus::Flags flags) override;
    void registerProperty(const std::string& interfaceName, std::string propertyName, std::string signature,
                          sdbus::property_get_callback getCallback, sdbus::property_set_callback setCallback,
                          sdbus::Flags flags) override;
    void setInterfaceFlags(const std::string& interfaceName, sdbus::Flags flags) override;
    void finishRegistration() override;
    void unregister() override;
    sdbus::Signal createSignal(const std::string& interfaceName, const std::string& signalName) override;
    void emitSignal(const sdbus::Signal& message) override;
    void emitPropertiesChangedSignal(const std::string& interfaceName,
                                     const std::vector<std::string>& propNames) override;
    void emitPropertiesChangedSignal(const std::string& interfaceName) override;
    void emitInterfacesAddedSignal() override;
    void emitInterfacesAddedSignal(const std::vector<std::string>& interfaces) override;
    void emitInterfacesRemovedSignal() override;
    void emitInterfacesRemovedSignal(const std::vector<std::string>& interfaces) override;
    void addObjectManager() override;
    void removeObjectManager() override;
    [[nodiscard]] bool hasObjectManager() const override;
    [[nodiscard]] sdbus::IConnection& getConnection() const override;
    [[nodiscard]] const std::string& getObjectPath() const override;
    [[nodiscard]] const sdbus::Message* getCurrentlyProcessedMessage() const override;

private:
    sdbus::IObject& object_;
};

/// Makes sure that a text can travel. D-Bus strings are UTF-8 without NUL: the D-Bus library refuses other bytes only
/// when the message is half written, and cuts a text at its first NUL without a word; the bus disconnects the sender of
/// a message that is too long.
/// \throws sdbus::Error for a text that cannot travel, after a line at severity 1, which a process writes once per text
DBUSUTILS_EXPORT const std::string& requireCarriable(const std::string& text);

/// Results of a handler made fit to travel.
/// \throws sdbus::Error for a text that cannot travel, after the same line
/// \{
DBUSUTILS_EXPORT std::string carriable(std::string text);
inline std::int32_t carriable(std::int32_t number)
{
    return number;
}
inline bool carriable(bool flag)
{
    return flag;
}
/// A list loses the elements that cannot travel, each after such a line: its readers still want the others.
DBUSUTILS_EXPORT std::vector<std::string> carriable(std::vector<std::string> list);
template <typename... Values>
std::tuple<Values...> carriable(std::tuple<Values...> values)
{
    return std::apply([](auto&... value) { return std::tuple<Values...>{carriable(std::move(value))...}; }, values);
}
/// \}

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
