#include "documents.h"

#include "support/log_capture.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

using namespace Tests;
using Tolvek::Orvan::DeviceId::extractVelFromDeviceIdXml;
using Tolvek::Orvan::DeviceId::Info;
using Tolvek::Orvan::DeviceId::velToDeviceIdXml;

namespace
{

/// A document with these children of the root; the prefixes `d` and `q` are bound.
std::string documentWith(const std::string& children)
{
    return "<d:deviceid xmlns:d='" + commonNamespace + "' xmlns:q='" + qnetNamespace + "'>" + children +
           "</d:deviceid>";
}

std::string documentOf(const std::string& vel)
{
    return outcomeOf([&] { return velToDeviceIdXml(vel); });
}

/// A text as the value of a VEL field.
std::string escaped(const std::string& text)
{
    std::string result;
    for (const char byte : text)
    {
        if (byte == ';' || byte == '\\')
            result += '\\';
        result += byte;
    }
    return result;
}

} // namespace

TEST(VelToXml, theDocumentIsExactToTheByte)
{
    const std::string vel = "VEL/T;U=Probe A;P=100200;S=0042;L=Plant 7;D=2021-03-05;E=2.10";
    const LogCapture log;
    EXPECT_EQ(velToDeviceIdXml(vel),
              "<?xml version=\"1.0\"?>\n"
              "<d:deviceid partNo=\"100200\" serialNo=\"0042\" name=\"Probe A\""
              " xmlns:d=\"http://www.tolvek.com/deviceid/common\">"
              "<d:production location=\"Plant 7\" when=\"2021-03-05T00:00:00\""
              " xmlns:d=\"http://www.tolvek.com/deviceid/common\"/>"
              "<qnet:ecl major=\"2\" minor=\"10\" xmlns:qnet=\"http://www.tolvek.com/deviceid/quennet\"/>"
              "<qnet:velType xmlns:qnet=\"http://www.tolvek.com/deviceid/quennet\">T</qnet:velType>"
              "<qnet:vel xmlns:qnet=\"http://www.tolvek.com/deviceid/quennet\">" +
                  vel + "</qnet:vel></d:deviceid>\n");
    EXPECT_EQ(log.lines(), std::vector<Line>{});
}

TEST(VelToXml, emptyValuesAreWrittenTooAndNumbersArePaddedOnlyInDates)
{
    EXPECT_EQ(velToDeviceIdXml("VEL/"),
              "<?xml version=\"1.0\"?>\n<d:deviceid partNo=\"\" serialNo=\"\" name=\"\" xmlns:d=\"" + commonNamespace +
                  "\"><d:production location=\"\" when=\"0000-00-00T00:00:00\" xmlns:d=\"" + commonNamespace +
                  "\"/><qnet:ecl major=\"0\" minor=\"0\" xmlns:qnet=\"" + qnetNamespace +
                  "\"/><qnet:velType xmlns:qnet=\"" + qnetNamespace + "\"></qnet:velType><qnet:vel xmlns:qnet=\"" +
                  qnetNamespace + "\">VEL/</qnet:vel></d:deviceid>\n");
    const std::string largest = std::to_string(std::numeric_limits<std::size_t>::max());
    const std::string document = velToDeviceIdXml("VEL/T;D=0007-01-02;E=007." + largest);
    EXPECT_NE(document.find(" when=\"0007-01-02T00:00:00\""), std::string::npos) << document;
    EXPECT_NE(document.find(" major=\"7\" minor=\"" + largest + "\""), std::string::npos) << document;
}

TEST(VelToXml, everyTextThatXmlHoldsComesBackUnchanged)
{
    const std::vector<std::string> values{
        "plain",
        " leading and trailing ",
        "a\nb\rc\r\nd\te",
        R"(<a href="x">&amp;'quoted'</a>)",
        "]]>",
        "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x94\xA7",
        "\x7F\xC2\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBD\xF4\x8F\xBF\xBF",
        "\xEF\xBB\xBF",
        std::string(4'000, 'x'),
    };
    for (const std::string& value : values)
    {
        const std::string plain = escaped(value);
        std::string vel = "VEL/";
        for (const std::string field : {"", ";P=", ";S=", ";L=", ";U="})
            vel.append(field).append(plain);
        const std::string document = velToDeviceIdXml(vel);
        EXPECT_EQ(velIn(document), vel);
        const Info info = Info::parse(document);
        for (const std::string& read : {info.partNumber(), info.serialNumber(), info.producedAt(), info.name()})
            EXPECT_EQ(read, value);
    }
}

TEST(VelToXml, whatTheVelLibraryRefusesIsItsOwnFailure)
{
    const LogCapture log;
    EXPECT_EQ(documentOf("VEL/T;D=2021-02-29"),
              "Invalid VEL: field D, byte 8: expected a calendar date YYYY-MM-DD or 0000-00-00");
    EXPECT_THROW(static_cast<void>(velToDeviceIdXml("no VEL")), std::invalid_argument);
    EXPECT_EQ(log.lines(), std::vector<Line>{});
}

TEST(VelToXml, aValueThatXmlCannotHoldIsRefusedAndNamed)
{
    struct Case
    {
        std::string vel;
        std::string failure;
        std::string byte;
        std::string call;
    };
    const std::vector<Case> cases{
        {"VEL/T;P=a\x01", "Could not write partNo attribute", "byte 1",
         "xmlTextWriterWriteAttribute(xml, partNo, STR_TO_XMLCHAR(velObj.production()->productID()))"},
        {"VEL/T;S=\x1F", "Could not write serialNo attribute", "byte 0",
         "xmlTextWriterWriteAttribute(xml, serialNo,STR_TO_XMLCHAR(velObj.production()->serialNumber()))"},
        {"VEL/T;U=caf\xE9", "Could not write name attribute", "byte 3",
         "xmlTextWriterWriteAttribute(xml, name, STR_TO_XMLCHAR(velObj.name()->unit()))"},
        {"VEL/T;L=\xC3\xA4\xC0\x80", "Could not write location attribute", "byte 2",
         "xmlTextWriterWriteAttribute(xml, location, STR_TO_XMLCHAR(velObj.production()->location()))"},
        {std::string("VEL/a\0b", 7), "Could not write qnet:velType value", "byte 1",
         "xmlTextWriterWriteString(xml, STR_TO_XMLCHAR(velObj.start()->velType()))"},
        {"VEL/T;X=\x0B", "Could not write qnet:vel value", "byte 8",
         "xmlTextWriterWriteString(xml, STR_TO_XMLCHAR(velStr))"},
    };
    for (const Case& each : cases)
    {
        const LogCapture log;
        EXPECT_EQ(documentOf(each.vel), each.failure);
        const std::vector<Line> expected{
            {1, "", "deviceIDXMLFromVEL: " + each.call + " failed"},
            {1, "", "deviceIDXMLFromVEL: " + each.byte + " of the value is not a character that XML can hold"}};
        EXPECT_EQ(log.lines(), expected);
    }
}

TEST(VelToXml, noEncodingOfAForbiddenCharacterGetsThrough)
{
    const std::vector<std::string> broken{"\x80", "\xC3", "\xBF\xBF", "\xC3(", "\xE2\x82", "\xF8\x88\x80\x80\x80",
                                          "\xFF"};
    const std::vector<std::string> overlong{"\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF"};
    const std::vector<std::string> noCharacter{
        std::string(1, '\0'), "\x08",         "\x0E",         "\xED\xA0\x80",
        "\xED\xBF\xBF",       "\xEF\xBF\xBE", "\xEF\xBF\xBF", "\xF4\x90\x80\x80"};
    for (const auto& group : {broken, overlong, noCharacter})
    {
        for (const auto& bytes : group)
            EXPECT_EQ(documentOf("VEL/T;X=12" + bytes), "Could not write qnet:vel value");
    }
    EXPECT_THROW(static_cast<void>(velToDeviceIdXml("VEL/T;X=\xFF")), std::runtime_error);
}

TEST(VelFromXml, theTextOfTheElementIsJoinedWithoutCommentsAndChildren)
{
    const auto extract = [](const std::string& content)
    { return velIn(documentWith("<other/><q:vel>" + content + "</q:vel>")); };
    EXPECT_EQ(extract("A&amp;B"), "A&B");
    EXPECT_EQ(extract("<![CDATA[<A&B>]]>"), "<A&B>");
    EXPECT_EQ(extract("A<!-- not this -->B<i>nor this</i><![CDATA[C]]>&#68;"), "ABCD");
    EXPECT_EQ(extract(" A\r\nB "), " A\nB ");
    EXPECT_EQ(velIn("<!DOCTYPE x [<!ENTITY who 'me'>]>" + documentWith("<q:vel>it is &who;</q:vel>")), "it is me");
}

TEST(VelFromXml, onlyADirectChildInTheRightNamespacesIsTakenAndOnlyWithText)
{
    const std::string none = "No VEL found in the DeviceID XML";
    const std::string plainRoot = "<deviceid xmlns:q='" + qnetNamespace + "'><q:vel>A</q:vel></deviceid>";
    const std::string otherRoot =
        "<d:other xmlns:d='" + commonNamespace + "' xmlns:q='" + qnetNamespace + "'><q:vel>A</q:vel></d:other>";
    for (const std::string& document :
         {documentWith(""), documentWith("<x><q:vel>A</q:vel></x>"), documentWith("<vel>A</vel>"),
          documentWith("<d:vel>A</d:vel>"), plainRoot, otherRoot, documentWith("<q:vel/>"),
          documentWith("<q:vel></q:vel>"), documentWith("<q:vel><!-- only this --></q:vel>"),
          documentWith("<q:vel><i>only a child</i></q:vel>")})
        EXPECT_EQ(velIn(document), none) << document;
    EXPECT_THROW(static_cast<void>(extractVelFromDeviceIdXml(documentWith(""))), std::runtime_error);
    EXPECT_EQ(velIn(documentWith("<q:vel>A</q:vel><q:vel>A</q:vel>")),
              "Malformed DeviceID XML: more than one VEL found");
    EXPECT_EQ(velIn(documentWith("<q:vel>A</q:vel><vel>B</vel><x><q:vel>C</q:vel></x>")), "A");
}
