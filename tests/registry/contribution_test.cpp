#include "support/log_capture.h"

#include <deviceid/contribution.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>

namespace
{

using namespace testing;
using namespace Tests;
using namespace Tolvek::Orvan::DeviceId;

Line line(int severity, const std::string& text)
{
    return {severity, "Tolvek::Orvan::DeviceId::Contribution", text};
}

const ReadFunction readNothing = [] { return std::string{}; };
const WriteFunction ignore = [](const std::string&) {};

TEST(Contribution, isRefusedWithoutBothFunctionsAndThenWithoutAnId)
{
    const std::string missing{"A read or write device id contribution is required."};
    const LogCapture log;
    EXPECT_THAT([] { Contribution(true, "%n", nullptr, ignore); }, ThrowsMessage<std::invalid_argument>(missing));
    EXPECT_THAT([] { Contribution(true, "", readNothing, {}); }, ThrowsMessage<std::invalid_argument>(missing));
    EXPECT_THAT([] { Contribution(true, "", readNothing, ignore); },
                ThrowsMessage<std::invalid_argument>("Id is empty"));

    const std::string reason{"a read or write device id contribution is required but at least one was nullptr."};
    EXPECT_THAT(log.lines(), ElementsAre(line(1, "For contribution id '%n', " + reason),
                                         line(1, "For contribution id '', " + reason), line(1, "Id is empty")));
}

TEST(Contribution, handsTextsOnByteForByteInBothDirections)
{
    std::string bytes{"<a>\0\xff%s</a>", 11};
    std::string written;
    const LogCapture log;
    Contribution contribution{false, "a#b/c d", [&] { return bytes; },
                              [&](std::string xml) { written = std::move(xml); }};

    contribution.writeDeviceId(bytes);
    EXPECT_EQ(written, bytes);
    EXPECT_EQ(contribution.readDeviceId(), bytes);
    EXPECT_EQ(contribution.id(), "a#b/c d");
    EXPECT_FALSE(contribution.isMain());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(Contribution, logsAStandardExceptionOnceAndLetsEveryExceptionThrough)
{
    const LogCapture log;
    Contribution failing{true, "dev", []() -> std::string { throw std::range_error("x%n"); },
                         [](const std::string&) { throw std::range_error("full"); }};
    EXPECT_THAT([&] { failing.readDeviceId(); }, ThrowsMessage<std::range_error>("x%n"));
    EXPECT_THAT([&] { failing.writeDeviceId("xml"); }, ThrowsMessage<std::range_error>("full"));

    Contribution foreign{true, "dev", []() -> std::string { throw 7; }, [](const std::string&) { throw 8; }};
    EXPECT_THROW(foreign.readDeviceId(), int);
    EXPECT_THROW(foreign.writeDeviceId("xml"), int);

    EXPECT_THAT(log.lines(), ElementsAre(line(1, "Error while reading Device Id 'dev'. Error was x%n"),
                                         line(1, "Error while writing Device Id 'dev'. Error was full")));
}

} // namespace
