#include "support/bus_test.h"

#include <deviceid/service_factory.h>

#include <gmock/gmock.h>

#include <new>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

namespace
{

using namespace Tolvek::Orvan::DeviceId;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Tests::BusTest;
using Tests::kBusType;
using Tests::kInterface;

using Result = std::tuple<std::int32_t, std::string, bool>;

class Provider : public BusTest
{
protected:
    std::unique_ptr<TokenIfc> add(const std::string& id, const ReadFunction& read, bool isMain = false)
    {
        return factory_.deviceIdServiceContributor()->addDeviceId(
            isMain, id, read, [this](std::string xml) { written_ = std::move(xml); });
    }

    std::vector<std::string> list()
    {
        std::vector<std::string> ids;
        proxy_->callMethod("deviceList").onInterface(kInterface).storeResultsTo(ids);
        return ids;
    }

    Result read(const std::string& id)
    {
        Result result;
        proxy_->callMethod("deviceId").onInterface(kInterface).withArguments(id).storeResultsTo(result);
        return result;
    }

    std::int32_t write(const std::string& id, const std::string& xml)
    {
        std::int32_t status = -1;
        proxy_->callMethod("setDeviceId").onInterface(kInterface).withArguments(id, xml).storeResultsTo(status);
        return status;
    }

    std::string written_;
    ServiceFactory factory_{"probe", kBusType};
    std::unique_ptr<sdbus::IConnection> connection_ = sdbus::createSessionBusConnection();
    std::unique_ptr<sdbus::IProxy> proxy_ = rawProvider(*connection_, "probe");
};

TEST_F(Provider, answersTheThreeMethodsWithTheRegistrysResults)
{
    EXPECT_THAT(list(), IsEmpty());
    const auto b = add(
        "b", [] { return "<b/>"; }, true);
    const auto a = add("a/ #%s", [] { return "<a/>"; });

    EXPECT_THAT(list(), ElementsAre("b", "a/ #%s"));
    EXPECT_EQ(read("b"), Result(0, "<b/>", true));
    EXPECT_EQ(read("a/ #%s"), Result(0, "<a/>", false));
    EXPECT_EQ(read("unknown"), Result(1, "", false));
    EXPECT_EQ(write("b", "<new>\n\xc3\xa4</new>"), 0);
    EXPECT_EQ(written_, "<new>\n\xc3\xa4</new>");
    EXPECT_EQ(write("unknown", ""), 1);
}

TEST_F(Provider, introspectionShowsExactlyTheThreeMethods)
{
    std::string xml;
    proxy_->callMethod("Introspect").onInterface("org.freedesktop.DBus.Introspectable").storeResultsTo(xml);
    const std::string interface = " <interface name=\"com.tolvek.orvan.deviceid.interface\">\n";
    const auto begin = xml.find(interface);
    ASSERT_NE(begin, std::string::npos) << xml;
    EXPECT_EQ(xml.substr(begin, xml.find(" </interface>", begin) - begin), interface +
                                                                               R"(  <method name="deviceId">
   <arg type="s" name="name" direction="in"/>
   <arg type="i" name="status" direction="out"/>
   <arg type="s" name="xml" direction="out"/>
   <arg type="b" name="isMain" direction="out"/>
  </method>
  <method name="deviceList">
   <arg type="as" name="name" direction="out"/>
  </method>
  <method name="setDeviceId">
   <arg type="s" name="name" direction="in"/>
   <arg type="s" name="xml" direction="in"/>
   <arg type="i" name="status" direction="out"/>
  </method>
)");
}

TEST_F(Provider, argumentsOfOtherTypesNeverReachTheRegistry)
{
    const auto device = add("7", [] { return "<x/>"; });
    log().clear();
    auto call = proxy_->createMethodCall(kInterface, "deviceId");
    call << 7;
    EXPECT_THROW(proxy_->callMethod(call), sdbus::Error);
    EXPECT_THAT(log().lines(), IsEmpty());
}

TEST_F(Provider, whateverAHandlerThrowsTheProviderGoesOn)
{
    const auto integer = add("int", []() -> std::string { throw 42; });
    const auto memory = add("memory", []() -> std::string { throw std::bad_alloc{}; });
    const auto binary = add("binary", []() -> std::string { throw std::runtime_error{"\xff\xfe broken"}; });
    const auto busError = add("bus", []() -> std::string { throw sdbus::Error{"com.example.E", "\xff bad"}; });
    const auto good = add("good", [] { return "<good/>"; });

    EXPECT_THROW(read("int"), sdbus::Error);
    EXPECT_TRUE(log().contains(1, "A method handler failed: unknown error"));
    EXPECT_EQ(std::get<0>(read("memory")), 2);
    EXPECT_EQ(std::get<0>(read("binary")), 2);
    EXPECT_EQ(std::get<0>(read("bus")), 2);
    EXPECT_EQ(read("good"), Result(0, "<good/>", false));
}

TEST_F(Provider, whatCannotTravelIsSaidOnceInTheLogAndCostsNobodyElse)
{
    const std::string badId = "id\xff";
    const auto bad = add(badId, [] { return "<x/>"; });
    const std::string latin = "<x a='\xe4'/>";
    const auto notUtf8 = add("latin", [&latin] { return std::string{latin}; });
    const auto tooLong = add("long", [] { return std::string(40UL * 1024 * 1024, 'x'); });
    const auto known = add("known", [&badId] { return std::string{badId}; });
    const auto withNul = add("nul", [] { return std::string{"<x/>\0<y/>", 9}; });
    const auto good = add("good", [] { return "<good/>"; });

    EXPECT_THAT(list(), ElementsAre("good", "known", "latin", "long", "nul"));
    EXPECT_THAT(list(), ElementsAre("good", "known", "latin", "long", "nul"));
    EXPECT_EQ(
        log().count(1, "A list on D-Bus goes without '" + badId + "', which is not UTF-8, holds a NUL or is too long"),
        1U);
    for (const auto* id : {"latin", "long", "nul", "latin", "known"})
    {
        try
        {
            read(id);
            ADD_FAILURE() << id << " was read";
        }
        catch (const sdbus::Error& error)
        {
            EXPECT_THAT(error.getMessage(), HasSubstr("D-Bus")) << id;
        }
    }
    EXPECT_EQ(log().count(1, "it is not UTF-8 or holds a NUL: '" + latin), 1U);
    EXPECT_EQ(log().count(1, "it is not UTF-8 or holds a NUL: '" + badId), 0U) << "told as an id already";

    EXPECT_EQ(read("good"), Result(0, "<good/>", false));
}

TEST_F(Provider, aListThatIsTooLongForTheBusLosesItsEndAndNotTheProvider)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer copies the whole message for each part of it that arrives";
#endif
    // Sixteen of them have a few bytes less than 31 MiB, and more with what a list needs beside them.
    const std::string rest(31UL * 1024 * 1024 / 16 - 4 - 1, 'x');
    std::vector<std::unique_ptr<TokenIfc>> tokens;
    for (char number = 'a'; number < 'a' + 25; ++number)
        tokens.push_back(add(number + rest, [] { return "<x/>"; }));
    const auto listed = list();
    EXPECT_EQ(listed.size(), 15U);
    EXPECT_EQ(listed.back().front(), 'o');
    list();
    EXPECT_EQ(log().count(1, "A list on D-Bus goes without '"), 10U) << "not once for each";

    const auto fits = add(
        "short", [] { return "<short/>"; }, true);
    EXPECT_EQ(list().front(), "short");
    EXPECT_EQ(read("short"), Result(0, "<short/>", true));
}

TEST_F(Provider, documentsOfAnyLengthTravelBothWays)
{
    std::string document;
    const auto token = add(
        "device", [&document] { return std::string{document}; }, true);
    // Behind the shorter ones the mark of the main device comes to lie at each alignment.
    for (const std::size_t size : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 1024U * 1024U})
    {
        document.assign(size, 'x');
        EXPECT_EQ(read("device"), Result(0, document, true)) << size;
        EXPECT_EQ(write("device", document), 0) << size;
        EXPECT_EQ(written_, document) << size;
    }
}

TEST_F(Provider, twoFactoriesShareOneRegistry)
{
    const ServiceFactory other{"other", kBusType};
    const auto first = add("first", [] { return "1"; });
    const auto second = other.deviceIdServiceContributor()->addVel(
        true, "second", [] { return ""; }, [](const std::string&) {});

    EXPECT_THAT(list(), ElementsAre("second", "first"));
    proxy_ = rawProvider(*connection_, "other");
    EXPECT_THAT(list(), ElementsAre("second", "first"));
    EXPECT_TRUE(other.deviceIdServiceContributor()->isReady());
}

TEST_F(Provider, aNameThatIsTakenOrImpossibleIsRefusedWithALine)
{
    EXPECT_THROW(ServiceFactory("probe", kBusType), sdbus::Error);
    EXPECT_THROW(ServiceFactory("no/such name", kBusType), sdbus::Error);
    const auto lines = log().lines();
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](const auto& line)
                            { return line.severity == 1 && line.text.rfind("ServiceContributor() throws ", 0) == 0; }),
              2);
}

} // namespace
