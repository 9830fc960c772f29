#include "documents.h"

#include "support/files.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <string>
#include <vector>

using Tests::Line;
using Tests::LogCapture;
using Tolvek::Orvan::DeviceId::Info;
using Tolvek::Orvan::DeviceId::velToDeviceIdXml;

namespace
{

const std::string& common = Tests::commonNamespace;

/// Gives the process a time zone, while the result lives.
[[nodiscard]] std::shared_ptr<void> inZone(const char* zone)
{
    setenv("TZ", zone, 1);
    tzset();
    return Tests::atEnd(
        []
        {
            unsetenv("TZ");
            tzset();
        });
}

constexpr const char* centralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";

std::string documentProducedOn(const std::string& when)
{
    return "<deviceid partNo='1' serialNo='2' name='3'><production location='4' when='" + when + "'/></deviceid>";
}

std::int64_t nanosecondsOf(const Info& info)
{
    return std::chrono::nanoseconds{info.producedOn().time_since_epoch()}.count();
}

std::int64_t nanosecondsOf(const std::string& when)
{
    return nanosecondsOf(Info::parse(documentProducedOn(when)));
}

constexpr std::int64_t fromSeconds(std::int64_t seconds)
{
    return seconds * 1'000'000'000;
}

void expectFields(const std::string& document)
{
    const Info info = Info::parse(document);
    EXPECT_EQ(info.partNumber(), "100200") << document;
    EXPECT_EQ(info.serialNumber(), "0042") << document;
    EXPECT_EQ(info.name(), "Probe A") << document;
    EXPECT_EQ(info.producedAt(), "Plant 7") << document;
    EXPECT_EQ(nanosecondsOf(info), fromSeconds(1614902400)) << document;
}

void expectInvalid(const std::string& document, const std::string& message)
{
    try
    {
        static_cast<void>(Info::parse(document));
        ADD_FAILURE() << "accepted: " << document;
    }
    catch (const std::invalid_argument& error)
    {
        EXPECT_EQ(error.what(), message) << document;
    }
}

Line notFoundOnce(const std::string& expression, int nodes)
{
    return {4, "",
            "Parsing device ID XML: xpath expression " + expression + " returned " + std::to_string(nodes) +
                " nodes when 1 was expected"};
}

} // namespace

TEST(Info, aDocumentMadeFromAVelIsReadThroughTheSecondAlternatives)
{
    const auto zone = inZone("UTC0");
    const std::string document = velToDeviceIdXml("VEL/T;U=Probe A;P=100200;S=0042;L=Plant 7;D=2021-03-05;E=2.10");
    const LogCapture log;
    expectFields(document);
    const std::vector<Line> expected{notFoundOnce("/d:deviceid/@d:partNo", 0),
                                     notFoundOnce("/d:deviceid/@d:serialNo", 0), notFoundOnce("/d:deviceid/@d:name", 0),
                                     notFoundOnce("/d:deviceid/d:production/@d:location", 0),
                                     notFoundOnce("/d:deviceid/d:production/@d:when", 0)};
    EXPECT_EQ(log.lines(), expected);
}

TEST(Info, aRootInNoNamespaceIsReadThroughTheThirdAlternativesWithoutALogLine)
{
    const auto zone = inZone("UTC0");
    const LogCapture log;
    expectFields("<deviceid partNo='100200' serialNo='0042' name='Probe A'>"
                 "<production location='Plant 7' when='2021-03-05T00:00:00'/></deviceid>");
    EXPECT_EQ(log.lines(), std::vector<Line>{});
}

TEST(Info, prefixesDoNotMatterAndUnknownNodesAreIgnored)
{
    const auto zone = inZone("UTC0");
    expectFields("<deviceid xmlns='" + common +
                 "' partNo='100200' serialNo='0042' name='Probe A' colour='red'><other/>text"
                 "<production location='Plant 7' when='2021-03-05T00:00:00' who='me'/><ecl/></deviceid>");
    expectFields("<x:deviceid xmlns:x='" + common +
                 "' x:partNo='100200' x:serialNo='0042' x:name='Probe A'>"
                 "<x:production x:location='Plant 7' when='2021-03-05T00:00:00'/>"
                 "<production location='elsewhere'/></x:deviceid>");
}

TEST(Info, qualifiedAttributesWinAndEmptyOnesCount)
{
    const Info info = Info::parse("<d:deviceid xmlns:d='" + common +
                                  "' partNo='plain' d:partNo='qualified' serialNo='' d:name='' name='plain'>"
                                  "<d:production location='' when=''/></d:deviceid>");
    EXPECT_EQ(info.partNumber(), "qualified");
    EXPECT_EQ(info.serialNumber(), "");
    EXPECT_EQ(info.name(), "");
    EXPECT_EQ(info.producedAt(), "");
}

TEST(Info, aDocumentWithoutOneOfTheValuesIsRefusedAtTheFirstThatIsMissing)
{
    const LogCapture log;
    expectInvalid("<d:deviceid xmlns:d='" + common + "' d:partNo='1' d:serialNo='2' d:name='3'/>", "Internal error.");
    const std::vector<Line> expected{
        {1, "",
         "getNodeString: no value found for set of xpaths expression of which the first is "
         "/d:deviceid/d:production/@d:location"},
        {1, "", "Failed to parse device ID XMl. Error Internal error."}};
    std::vector<Line> failures;
    for (const Line& line : log.lines())
    {
        if (line.severity == 1)
            failures.push_back(line);
    }
    EXPECT_EQ(failures, expected);
    EXPECT_FALSE(log.contains(4, "when=")) << "the value behind the missing one is not looked for";
}

TEST(Info, otherRootsAndSeveralProductionsAreRefused)
{
    for (const std::string document : {"<other/>", "<d:deviceid xmlns:d='http://example.com/' d:partNo='1'/>"})
        expectInvalid(document, "Internal error.");
    // A root in no namespace has no qualified attributes.
    expectInvalid("<deviceid xmlns:d='" + common +
                      "' d:partNo='1' d:serialNo='2' d:name='3'><production d:location='4' d:when='5'/></deviceid>",
                  "Internal error.");

    const LogCapture log;
    expectInvalid("<d:deviceid xmlns:d='" + common +
                      "' partNo='1' serialNo='2' name='3'><d:production location='4' when='5'/>"
                      "<d:production location='4' when='5'/></d:deviceid>",
                  "Internal error.");
    EXPECT_TRUE(log.contains(4, "/d:deviceid/d:production/@location returned 2 nodes when 1 was expected"));
}

TEST(ProducedOn, isLocalStandardTimeAllTheYear)
{
    {
        const auto zone = inZone("UTC0");
        EXPECT_EQ(nanosecondsOf("2021-03-05T10:20:30"), fromSeconds(1614939630));
        EXPECT_EQ(nanosecondsOf(" 2021-03-05T10:20:30"), fromSeconds(1614939630)) << "white space is skipped";
        EXPECT_EQ(nanosecondsOf("1969-12-31T23:59:58"), fromSeconds(-2));
    }
    const auto zone = inZone(centralEurope);
    EXPECT_EQ(nanosecondsOf("2021-03-05T00:00:00"), fromSeconds(1614898800));
    EXPECT_EQ(nanosecondsOf("2021-07-01T00:00:00"), fromSeconds(1625094000)) << "not an hour earlier";
}

TEST(ProducedOn, ignoresOffsetAndZoneName)
{
    const auto zone = inZone(centralEurope);
    const std::int64_t plain = fromSeconds(1614939630 - 3600);
    for (const std::string suffix : {"", "+0100 CET", "+0500 EST", "+05:00", "Z", " GMT", ".250", " nonsense"})
        EXPECT_EQ(nanosecondsOf("2021-03-05T10:20:30" + suffix), plain) << suffix;
}

// A process with 32-bit time counts from December 1901 to January 2038.
constexpr bool isTimeWide = sizeof(std::time_t) > 4;

TEST(ProducedOn, ofATimeThatTheProcessCannotCountIsTheSecondBeforeTheEpoch)
{
    const auto zone = inZone("UTC0");
    EXPECT_EQ(nanosecondsOf("1900-01-01T00:00:00"), fromSeconds(isTimeWide ? -2208988800 : -1));
    EXPECT_EQ(nanosecondsOf("1901-12-13T20:45:52"), fromSeconds(-2147483648LL));
    EXPECT_EQ(nanosecondsOf("2038-01-19T03:14:07"), fromSeconds(2147483647));
    EXPECT_EQ(nanosecondsOf("2039-01-01T00:00:00"), fromSeconds(isTimeWide ? 2177452800 : -1));
    // The nanoseconds do not fit 64 bits and wrap.
    EXPECT_EQ(nanosecondsOf("9999-12-31T23:59:59"), isTimeWide ? -4852116232933722624 : fromSeconds(-1));
}

TEST(ProducedOn, keepsWhatCanBeReadOfABrokenDate)
{
    const auto zone = inZone("UTC0");
    // The day before 1 January 1900: nothing is read.
    for (const std::string when : {"", "garbage", "T10:20:30", "-2021-03-05"})
        EXPECT_EQ(nanosecondsOf(when), fromSeconds(isTimeWide ? -2209075200 : -1)) << when;

    EXPECT_EQ(nanosecondsOf("2021-03-05"), fromSeconds(1614902400));
    EXPECT_EQ(nanosecondsOf("2021-03-05T10:99"), fromSeconds(1614938400));
    EXPECT_EQ(nanosecondsOf("2021-13-05T00:00:00"), fromSeconds(1609372800)) << "31 December 2020, the day before";
    // Only the year 0 is read; the nanoseconds do not fit 64 bits and wrap.
    EXPECT_EQ(nanosecondsOf("0000-00-00T00:00:00"), isTimeWide ? -6827073378871345152 : fromSeconds(-1));
}
