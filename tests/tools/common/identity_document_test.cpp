#include "common/identity_document.h"
#include "common/input.h"
#include "common/text.h"
#include "support/log_capture.h"
#include "support/private_bus.h"

#include <deviceid/info.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace
{

using namespace Tolvek::Orvan::DeviceId;
using namespace Tolvek::Orvan::DeviceId::Tools;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string kCommon = R"( xmlns:d="http://www.tolvek.com/deviceid/common")";
const std::string kQnet = R"( xmlns:q="http://www.tolvek.com/deviceid/quennet")";

std::string errorOf(const std::string& text)
{
    try
    {
        validateIdentity(text, recogniseForm(text).value_or(Form::Xml), "f");
    }
    catch (const InvalidIdentity& error)
    {
        return error.what();
    }
    return "valid";
}

bool isReadByLibrary(const std::string& xml)
{
    try
    {
        static_cast<void>(Info::parse(xml));
        return true;
    }
    catch (const std::invalid_argument&)
    {
        return false;
    }
}

// One row per mistake that people make; the message must lead to it.
TEST(IdentityDocument, mistakesAreNamedWithTheirPlace)
{
    const Tests::LogCapture log;
    const std::string production = R"(<production location="4" when="2021-03-05T00:00:00"/>)";
    const std::vector<std::pair<std::string, std::string>> rows{
        {"", "f:1:1: expected well-formed XML: no element found"},
        {"<deviceid\npartNo=1/>", "f:2:8: expected well-formed XML: not well-formed (invalid token)"},
        {"<a>\n<b></a>", "f:2:6: expected well-formed XML: mismatched tag"},
        {"<d:deviceid/>", "f:1:1: expected well-formed XML: unbound prefix"},
        {"\n<device/>", R"(f:2:1: expected the root element "deviceid", found "device")"},
        {"<deviceid xmlns='urn:x'/>",
         R"(f:1:1: expected the root element in the namespace "http://www.tolvek.com/deviceid/common")"},
        {"<deviceid serialNo='2' name='3'>" + production + "</deviceid>",
         R"(f:1:1: field partNo: expected exactly one attribute "partNo" in the element "deviceid", found none)"},
        {"<deviceid partNo='1' serialNo='2' name='3'/>",
         "f:1:1: fields location, when: expected an element \"production\" in \"deviceid\" and in the same namespace, "
         "found none"},
        {"<deviceid partNo='1' serialNo='2' name='3'>\n" + production + production + "</deviceid>",
         "f:2:1: field location: expected exactly one attribute \"location\" in the element \"production\", found "
         "several"},
        {"<d:deviceid partNo='1' serialNo='2' name='3'" + kCommon + ">" + production + "</d:deviceid>",
         "f:1:1: fields location, when: expected an element \"production\" in \"deviceid\" and in the same namespace, "
         "found none"},
        {"<deviceid partNo='1' serialNo='2' name='3'>\n  <production location='4'/></deviceid>",
         R"(f:2:3: field when: expected exactly one attribute "when" in the element "production", found none)"},
        {"<deviceid name='\x01'/>", "f: byte 16: expected UTF-8 text without control characters, found 0x01"},
        {"<deviceid name='\xE9'/>", "f: byte 16: expected UTF-8 text without control characters, found 0xe9"},
        {std::string(65537, ' '), "f: expected at most 65536 bytes, found 65537"},
        {"VEL/T;U=a;U=b", "f: field U, byte 10: expected a field that has not occurred before"},
        {"VEL/T;D=2021-02-30", "f: field D, byte 8: expected a calendar date YYYY-MM-DD or 0000-00-00"},
        {"VEL/T;U=\x1b", "f: byte 8: expected UTF-8 text without control characters, found 0x1b"},
        {"VEL/T;U=" + std::string(65000, 'x'),
         "f: expected a VEL string that fits a document of 65536 bytes: Could not write qnet:vel value"},
    };
    for (const auto& [text, error] : rows)
        EXPECT_EQ(errorOf(text), error) << text.substr(0, 80);
}

TEST(IdentityDocument, fieldsComeFromEitherForm)
{
    const auto vel = validateVel("VEL/T;U=Base Unit;P=100200;S=0042;L=Plant 7;D=2021-03-05;E=2.10", "f");
    const auto xml = validateXml(vel.xml, "f");
    for (const auto& identity : {vel, xml})
    {
        EXPECT_EQ(identity.partNumber + "|" + identity.serialNumber + "|" + identity.name, "100200|0042|Base Unit");
        EXPECT_EQ(identity.producedAt + "|" + identity.producedOn, "Plant 7|2021-03-05T00:00:00");
        EXPECT_EQ(identity.velType.value_or("") + "|" + identity.ecl.value_or(""), "T|2.10");
        EXPECT_EQ(identity.vel, "VEL/T;U=Base Unit;P=100200;S=0042;L=Plant 7;D=2021-03-05;E=2.10");
        EXPECT_THAT(identity.warnings, IsEmpty());
    }
    const auto plain = validateXml("<deviceid partNo='' serialNo='&lt;' name='\xC3\xA9'>"
                                   "<production location='' when='2021-03-05T10:00:00+0100'/></deviceid>",
                                   "f");
    EXPECT_EQ(plain.serialNumber + plain.name, "<\xC3\xA9");
    EXPECT_FALSE(plain.vel || plain.ecl || plain.velType);
}

TEST(IdentityDocument, likelyMistakesAreWarnedOf)
{
    const auto warningsOf = [](const std::string& when, const std::string& inside, const std::string& declaration = {})
    {
        return validateXml(declaration + "<d:deviceid partNo='1' serialNo='2' name='3'" + kCommon + kQnet +
                               "><d:production location='4' when='" + when + "'/>" + inside + "</d:deviceid>",
                           "f")
            .warnings;
    };
    const std::string now = "2021-03-05T10:20:30";
    EXPECT_THAT(warningsOf(now, ""), IsEmpty());
    EXPECT_THAT(warningsOf("5 March", ""), ElementsAre(HasSubstr("field when: expected YYYY-MM-DDThh:mm:ss, found")));
    EXPECT_THAT(warningsOf(now, "<q:vel/>"), ElementsAre("f: field vel: No VEL found in the DeviceID XML"));
    EXPECT_THAT(warningsOf(now, "<q:vel>VEL/T;X</q:vel>"), ElementsAre(HasSubstr("field X, byte 7")));
    EXPECT_THAT(warningsOf(now, "<q:vel>VEL/T;P=1;S=7;U=3;L=4</q:vel>"),
                ElementsAre(R"(f: field serialNo: the document says "2", the VEL string in it "7")"));
    EXPECT_THAT(warningsOf(now, "", "<?xml version='1.0' encoding='ISO-8859-1'?>"),
                ElementsAre(R"(f: expected the encoding UTF-8, found "ISO-8859-1")"));
    EXPECT_THAT(validateVel("VEL/T;U=a\n", "f").warnings, ElementsAre(HasSubstr("expected one line of text")));
}

// Whatever the library refuses must be refused before it is written, and nothing else but documents whose text swells
// to megabytes where the library does not look.
TEST(IdentityDocument, agreesWithTheLibraryAboutForeignDocuments)
{
    const Tests::LogCapture log;
    std::size_t accepted = 0;
    std::size_t refused = 0;
    std::istringstream folders{DOCUMENT_FOLDERS};
    for (std::string folder; std::getline(folders, folder, ':');)
    {
        for (const auto& file : std::filesystem::directory_iterator{folder})
        {
            const auto text = readInput(file.path());
            const bool isCarriable = !findUnwritable(text);
            const bool isValid = errorOf(text) == "valid";
            const bool swells = file.path().filename().string().rfind("text-two-level", 0) == 0;
            EXPECT_EQ(isValid, isCarriable && isReadByLibrary(text) && !swells) << file.path();
            ++(isValid ? accepted : refused);
        }
    }
    EXPECT_GT(accepted, 5U);
    EXPECT_GT(refused, 30U);
}

TEST(Input, isReadWholeOrRefusedWithTheReason)
{
    const Tests::TemporaryFolder folder;
    const auto file = (folder.path() / "file").string();
    const std::string content = std::string(40000, 'x') + std::string(1, '\0') + "\n\n";
    std::ofstream{file} << content;
    EXPECT_EQ(readInput(file), content);
    EXPECT_EQ(withoutLineEnd("a\n\n"), "a\n");
    const auto errorOfReading = [](const std::string& name, std::size_t limit)
    {
        try
        {
            return readInput(name, limit);
        }
        catch (const UnreadableInput& error)
        {
            return std::string{error.what()};
        }
    };
    EXPECT_EQ(errorOfReading(file, 40002), "cannot read " + file + ": it has more than 40002 bytes");
    EXPECT_EQ(errorOfReading(file + "x", 1), "cannot read " + file + "x: No such file or directory");
    EXPECT_EQ(errorOfReading(folder.path(), 1), "cannot read " + folder.path().string() + ": Is a directory");
}

TEST(Text, nothingThatDrivesATerminalIsShown)
{
    EXPECT_EQ(printable("a\\ \xC3\xA9 \xF0\x9F\x98\x80"), "a\\ \xC3\xA9 \xF0\x9F\x98\x80");
    EXPECT_EQ(printable("\n\t\r\x1b[31m\x7f"), R"(\n\t\r\x1b[31m\x7f)");
    EXPECT_EQ(printable(std::string{"\xC2\x9B"} + "31m \xE2\x80" + "\xAE \xE2\x81" + "\xA6"),
              R"(\u009b31m \u202e \u2066)");
    EXPECT_EQ(printable("\xC0\x80 \xED\xA0\x80 \xE2\x80"), R"(\xc0\x80 \xed\xa0\x80 \xe2\x80)");
}

} // namespace
