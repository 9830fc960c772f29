// What reading one answer of a peer costs with each of the parsers that could do it. The discovery uses the cheaper
// one.

#include <benchmark/benchmark.h>

#include <expat.h>
#include <pugixml.hpp>

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

namespace
{

constexpr std::string_view kWanted = "com.tolvek.orvan.deviceid.interface";

/// What sd-bus answers for a provider's object: 1.4 KiB, most of it about interfaces that every object has.
std::string answer()
{
    std::string text = R"(<!DOCTYPE node PUBLIC "-//freedesktop//DTD D-BUS Object Introspection 1.0//EN"
"http://www.freedesktop.org/standards/dbus/1.0/introspect.dtd">
<node>
)";
    constexpr int kArguments = 5;
    for (const auto* interface : {"org.freedesktop.DBus.Peer", "org.freedesktop.DBus.Introspectable",
                                  "org.freedesktop.DBus.Properties", "com.tolvek.orvan.deviceid.interface"})
    {
        text += " <interface name=\"" + std::string{interface} + "\">\n  <method name=\"Method\">\n";
        for (int i = 0; i < kArguments; ++i)
            text += "   <arg type=\"s\" name=\"argument\" direction=\"in\"/>\n";
        text += "  </method>\n </interface>\n";
    }
    return text + " <node name=\"child\"/>\n</node>\n";
}

void readWithPugixml(benchmark::State& state)
{
    const auto text = answer();
    while (state.KeepRunning())
    {
        pugi::xml_document document;
        document.load_buffer(text.data(), text.size(), pugi::parse_minimal, pugi::encoding_utf8);
        int found = 0;
        for (const auto& interface : document.child("node").children("interface"))
            found += kWanted == interface.attribute("name").value() ? 1 : 0;
        benchmark::DoNotOptimize(found);
    }
}
BENCHMARK(readWithPugixml);

void onElement(void* found, const char* name, const char** attributes)
{
    if (std::string_view{name} != "interface")
        return;
    for (; *attributes != nullptr; attributes += 2)
    {
        if (std::string_view{attributes[0]} == "name" && attributes[1] == kWanted)
            ++*static_cast<int*>(found);
    }
}

void readWithExpat(benchmark::State& state)
{
    using Parser = std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)>;
    const auto text = answer();
    while (state.KeepRunning())
    {
        const Parser parser{XML_ParserCreate("UTF-8"), &XML_ParserFree};
        int found = 0;
        XML_SetUserData(parser.get(), &found);
        XML_SetElementHandler(parser.get(), onElement, nullptr);
        XML_Parse(parser.get(), text.data(), static_cast<int>(text.size()), XML_TRUE);
        benchmark::DoNotOptimize(found);
    }
}
BENCHMARK(readWithExpat);

} // namespace
