#include "ctl_test.h"

#include <deviceid/vel_conversion.h>

#include <gmock/gmock.h>

#include <cstdlib>

namespace
{

using namespace Tests;
using testing::HasSubstr;

// Without any bus.
TEST(CtlOffline, convertsAndValidates)
{
    struct WithoutBus : CtlTest
    {
        using CtlTest::run;
        void TestBody() override {}
    };
    const WithoutBus ctl;
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere", 1);

    const auto xml = Tolvek::Orvan::DeviceId::velToDeviceIdXml(kVel);
    const std::string oddTime =
        "<deviceid partNo='' serialNo='' name=''><production location='' when='now'/></deviceid>";
    struct Row
    {
        Arguments arguments;
        std::string input;
        int exitCode;
        std::string output;
        std::string error;
    };
    const std::vector<Row> rows{
        {{"convert", "-", "--to", "xml"}, kVel + "\n", 0, xml, ""},
        {{"convert", "in", "--to", "vel"}, xml, 0, kVel, ""},
        {{"convert", "in", "--to=vel"}, kVel + "\n", 0, kVel, ""},
        {{"convert", "in", "--to", "xml"}, document("1", "2"), 0, document("1", "2"), ""},
        {{"convert", "in", "--to", "vel"}, document("1", "2"), 3, "", "in: field vel: expected one element \"vel\""},
        {{"convert", "in", "--to", "vel"}, "<a", 3, "", "in:1:1: expected well-formed XML"},
        {{"convert", "in", "--to", "json"}, kVel, 64, "", "json not in {xml,vel}"},
        {{"convert", "in"}, kVel, 64, "", "--to is required"},
        {{"validate", "-"}, kVel, 0, "standard input: valid VEL string\n", ""},
        {{"validate", "in"}, "\xEF\xBB\xBF" + document("1", "2"), 0, "in: valid device-ID XML\n", ""},
        {{"validate", "in"}, oddTime, 1, "in: valid device-ID XML\n", "warning: in:1:41: field when: expected"},
        {{"validate", "in"}, "VEL/T;U=x\n\n", 1, "in: valid VEL string\n", "warning: in: expected one line of text"},
        {{"validate", "in"}, "VEL/T;E=1", 3, "", "in: field E, byte 8: expected two decimal numbers"},
        {{"validate", "in"}, "identity", 3, "", "in: byte 0: expected \"VEL/\" or an XML document"},
        {{"validate", "."}, "", 3, "", "cannot read .: Is a directory"},
    };
    for (const auto& row : rows)
    {
        const auto outcome = ctl.run(row.arguments, row.input);
        EXPECT_EQ(outcome.exitCode, row.exitCode) << row.input << row.error;
        EXPECT_EQ(outcome.output, row.output) << row.error;
        if (row.error.empty())
            EXPECT_EQ(outcome.errors, "");
        else
            EXPECT_THAT(outcome.errors, HasSubstr(row.error));
    }
}

} // namespace
