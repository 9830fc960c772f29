#include <busconnection/dbus/handler_boundary.h>

#include "told_texts.h"
#include "utf8.h"

#include <logger/logger.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

using Log::orvanDoLog;
using Log::Severity;

namespace
{

constexpr const char* kFailed = "org.freedesktop.DBus.Error.Failed";

/// More of an error text helps nobody, and a reply that is too long for the bus would cost the connection.
constexpr std::size_t kMaxErrorText = 4096;

/// Strings in one message: a system bus takes its sender off the bus for a message above 32 MiB.
constexpr std::size_t kMaxStrings = 31UL * 1024 * 1024;
/// What a string costs in a list beside its bytes: its length, its NUL and the gap to the next one.
constexpr std::size_t kListOverhead = 8;

/// One for the whole process, whatever is told of the texts.
ToldTexts& toldTexts()
{
    static ToldTexts texts;
    return texts;
}

template <typename... Arguments>
void tellOnce(std::string_view text, const char* format, const Arguments&... arguments)
{
    const auto withheld = toldTexts().tell(text, ToldTexts::Clock::now());
    if (!withheld)
        return;
    if (*withheld > 0)
        orvanDoLog(Severity::Error, "Texts that cannot travel on D-Bus were met %lu times more than told here", {},
                   *withheld);
    orvanDoLog(Severity::Error, format, {}, arguments...);
}

bool isErrorNameElement(std::string_view element)
{
    const auto isDigit = [](char letter) { return letter >= '0' && letter <= '9'; };
    const auto isAllowed = [&isDigit](char letter) {
        return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') || isDigit(letter) || letter == '_';
    };
    return !element.empty() && !isDigit(element.front()) && std::all_of(element.begin(), element.end(), isAllowed);
}

/// Whether D-Bus takes the name for an error; a reply with another one costs the connection.
bool isErrorName(std::string_view name)
{
    constexpr std::size_t kMaxName = 255;
    const auto dot = name.find('.');
    if (name.size() > kMaxName || dot == std::string_view::npos)
        return false;
    for (auto rest = name;;)
    {
        const auto end = std::min(rest.find('.'), rest.size());
        if (!isErrorNameElement(rest.substr(0, end)))
            return false;
        if (end == rest.size())
            return true;
        rest.remove_prefix(end + 1);
    }
}

[[noreturn]] void reply(const std::string& name, std::string_view text)
{
    throw sdbus::Error{isErrorName(name) ? name : kFailed, madeCarriable(text, kMaxErrorText)};
}

/// Services log the std::runtime_error that they pass on; what comes here otherwise is known to nobody yet.
[[noreturn]] void replyUnexpected(std::string_view text)
{
    orvanDoLog(Severity::Error, "A method handler failed: %s", {}, text);
    reply(kFailed, text);
}

/// Nothing keeps an exception of the host program from having no text at all.
std::string_view textOf(const std::exception& error)
{
    const char* const text = error.what();
    return text != nullptr ? text : "";
}

template <typename Handler>
void insideBoundary(const Handler& handler)
{
    try
    {
        handler();
    }
    catch (const sdbus::Error& error)
    {
        reply(error.getName(), error.getMessage());
    }
    catch (const std::runtime_error& error)
    {
        reply(kFailed, textOf(error));
    }
    catch (const std::exception& error)
    {
        replyUnexpected(textOf(error));
    }
    catch (...)
    {
        replyUnexpected("unknown error");
    }
}

sdbus::method_callback guarded(sdbus::method_callback handler)
{
    return [handler = std::move(handler)](sdbus::MethodCall call)
    { insideBoundary([&] { handler(std::move(call)); }); };
}

} // namespace

void HandlerBoundary::registerMethod(const std::string& interfaceName, std::string methodName,
                                     std::string inputSignature, std::string outputSignature,
                                     sdbus::method_callback methodCallback, sdbus::Flags flags)
{
    object_.registerMethod(interfaceName, std::move(methodName), std::move(inputSignature), std::move(outputSignature),
                           guarded(std::move(methodCallback)), flags);
}

void HandlerBoundary::registerMethod(const std::string& interfaceName, std::string methodName,
                                     std::string inputSignature, const std::vector<std::string>& inputNames,
                                     std::string outputSignature, const std::vector<std::string>& outputNames,
                                     sdbus::method_callback methodCallback, sdbus::Flags flags)
{
    object_.registerMethod(interfaceName, std::move(methodName), std::move(inputSignature), inputNames,
                           std::move(outputSignature), outputNames, guarded(std::move(methodCallback)), flags);
}

void HandlerBoundary::registerSignal(const std::string& interfaceName, std::string signalName, std::string signature,
                                     sdbus::Flags flags)
{
    object_.registerSignal(interfaceName, std::move(signalName), std::move(signature), flags);
}

void HandlerBoundary::registerSignal(const std::string& interfaceName, std::string signalName, std::string signature,
                                     const std::vector<std::string>& paramNames, sdbus::Flags flags)
{
    object_.registerSignal(interfaceName, std::move(signalName), std::move(signature), paramNames, flags);
}

void HandlerBoundary::registerProperty(const std::string& interfaceName, std::string propertyName,
                                       std::string signature, sdbus::property_get_callback getCallback,
                                       sdbus::Flags flags)
{
    object_.registerProperty(interfaceName, std::move(propertyName), std::move(signature), std::move(getCallback),
                             flags);
}

void HandlerBoundary::registerProperty(const std::string& interfaceName, std::string propertyName,
                                       std::string signature, sdbus::property_get_callback getCallback,
                                       sdbus::property_set_callback setCallback, sdbus::Flags flags)
{
    object_.registerProperty(interfaceName, std::move(propertyName), std::move(signature), std::move(getCallback),
                             std::move(setCallback), flags);
}

void HandlerBoundary::setInterfaceFlags(const std::string& interfaceName, sdbus::Flags flags)
{
    object_.setInterfaceFlags(interfaceName, flags);
}

void HandlerBoundary::finishRegistration()
{
    object_.finishRegistration();
}

void HandlerBoundary::unregister()
{
    object_.unregister();
}

sdbus::Signal HandlerBoundary::createSignal(const std::string& interfaceName, const std::string& signalName)
{
    return object_.createSignal(interfaceName, signalName);
}

void HandlerBoundary::emitSignal(const sdbus::Signal& message)
{
    object_.emitSignal(message);
}

void HandlerBoundary::emitPropertiesChangedSignal(const std::string& interfaceName,
                                                  const std::vector<std::string>& propNames)
{
    object_.emitPropertiesChangedSignal(interfaceName, propNames);
}

void HandlerBoundary::emitPropertiesChangedSignal(const std::string& interfaceName)
{
    object_.emitPropertiesChangedSignal(interfaceName);
}

void HandlerBoundary::emitInterfacesAddedSignal()
{
    object_.emitInterfacesAddedSignal();
}

void HandlerBoundary::emitInterfacesAddedSignal(const std::vector<std::string>& interfaces)
{
    object_.emitInterfacesAddedSignal(interfaces);
}

void HandlerBoundary::emitInterfacesRemovedSignal()
{
    object_.emitInterfacesRemovedSignal();
}

void HandlerBoundary::emitInterfacesRemovedSignal(const std::vector<std::string>& interfaces)
{
    object_.emitInterfacesRemovedSignal(interfaces);
}

void HandlerBoundary::addObjectManager()
{
    object_.addObjectManager();
}

void HandlerBoundary::removeObjectManager()
{
    object_.removeObjectManager();
}

bool HandlerBoundary::hasObjectManager() const
{
    return object_.hasObjectManager();
}

sdbus::IConnection& HandlerBoundary::getConnection() const
{
    return object_.getConnection();
}

const std::string& HandlerBoundary::getObjectPath() const
{
    return object_.getObjectPath();
}

const sdbus::Message* HandlerBoundary::getCurrentlyProcessedMessage() const
{
    return object_.getCurrentlyProcessedMessage();
}

const std::string& requireCarriable(const std::string& text)
{
    if (text.size() > kMaxStrings)
    {
        tellOnce(text, "A text of %lu bytes is too long for D-Bus", text.size());
        reply(kFailed, "A text is too long for D-Bus");
    }
    if (isCarriable(text))
        return text;
    tellOnce(text, "A text cannot travel on D-Bus, it is not UTF-8 or holds a NUL: '%s'",
             std::string_view{text}.substr(0, kMaxErrorText));
    reply(kFailed, "A text holds bytes that D-Bus cannot carry (not UTF-8, or a NUL)");
}

std::string carriable(std::string text)
{
    requireCarriable(text);
    return text;
}

std::vector<std::string> carriable(std::vector<std::string> list)
{
    std::size_t total = 0;
    const auto travels = [&total](const std::string& text)
    {
        const auto size = text.size() + kListOverhead;
        if (!isCarriable(text) || size > kMaxStrings - total)
            return false;
        total += size;
        return true;
    };
    const auto rest = std::stable_partition(list.begin(), list.end(), travels);
    std::for_each(rest, list.end(),
                  [](const std::string& text)
                  {
                      tellOnce(text,
                               "A list on D-Bus goes without '%s', which is not UTF-8, holds a NUL or is too long",
                               std::string_view{text}.substr(0, kMaxErrorText));
                  });
    list.erase(rest, list.end());
    return list;
}

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
