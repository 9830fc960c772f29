// Function-like macros of these names, as some system headers define them, must not get in the way of the accessors.
#define major(device) macroOfTheSystem(device)
#define minor(device) macroOfTheSystem(device)
#include <vel/version.h>
#undef major
#undef minor

#include <vel/vel.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

using Tolvek::Orvan::Vel::Vel;

namespace
{

std::string refusalOf(const std::string& text)
{
    try
    {
        static_cast<void>(Vel::parse(text));
    }
    catch (const std::invalid_argument& error)
    {
        return error.what();
    }
    return "accepted";
}

std::string dateOf(const std::string& date)
{
    const auto parsed = Vel::parse("VEL/T;D=" + date).production()->date();
    return std::to_string(parsed.year()) + '/' + std::to_string(parsed.month()) + '/' + std::to_string(parsed.day());
}

} // namespace

TEST(Vel, fieldsAreReadInAnyOrderWithOrWithoutALastSemicolon)
{
    for (const std::string text : {"VEL/T;U=Probe A;P=100200;S=0042;L=Plant 7;D=2021-03-05;E=2.10",
                                   "VEL/T;E=2.10;D=2021-03-05;L=Plant 7;S=0042;P=100200;U=Probe A;"})
    {
        const Vel vel = Vel::parse(text);
        EXPECT_EQ(vel.start()->velType(), "T");
        EXPECT_EQ(vel.name()->unit(), "Probe A");
        EXPECT_EQ(vel.production()->productID(), "100200");
        EXPECT_EQ(vel.production()->serialNumber(), "0042");
        EXPECT_EQ(vel.production()->location(), "Plant 7");
        EXPECT_EQ(vel.production()->date().year(), 2021U);
        EXPECT_EQ(vel.production()->date().month(), 3U);
        EXPECT_EQ(vel.production()->date().day(), 5U);
        EXPECT_EQ(vel.production()->ecl().major(), 2U);
        EXPECT_EQ(vel.production()->ecl().minor(), 10U);
    }
}

TEST(Vel, missingFieldsAreEmptyAndTheThreeGroupsAreAlwaysThere)
{
    for (const std::string text : {"VEL/", "VEL/;"})
    {
        const Vel vel = Vel::parse(text);
        ASSERT_TRUE(vel.name() && vel.production() && vel.start());
        EXPECT_EQ(vel.start()->velType() + vel.name()->unit() + vel.production()->productID() +
                      vel.production()->serialNumber() + vel.production()->location(),
                  "");
        EXPECT_EQ(vel.production()->date().year() + vel.production()->date().month() + vel.production()->date().day(),
                  0U);
        EXPECT_EQ(vel.production()->ecl().major() + vel.production()->ecl().minor(), 0U);
    }
    EXPECT_EQ(Vel::parse("VEL/T;U=").name()->unit(), "");
}

TEST(Vel, aBackslashMakesTheNextByteOfATypeOrValuePlain)
{
    const Vel vel = Vel::parse(R"(VEL/a\;b\\;U=\x\;U=y\\;L=p=q/r;D=2021\-03-05)");
    EXPECT_EQ(vel.start()->velType(), R"(a;b\)");
    EXPECT_EQ(vel.name()->unit(), R"(x;U=y\)");
    EXPECT_EQ(vel.production()->location(), "p=q/r");
    EXPECT_EQ(vel.production()->date().day(), 5U);
}

TEST(Vel, everyOtherByteStandsForItself)
{
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
    {
        if (byte != ';' && byte != '\\')
            bytes += static_cast<char>(byte);
    }
    const Vel vel = Vel::parse("VEL/" + bytes + ";S=" + bytes);
    EXPECT_EQ(vel.start()->velType(), bytes);
    EXPECT_EQ(vel.production()->serialNumber(), bytes);
}

TEST(Vel, fieldsOfUnknownLettersAreIgnoredAndLettersDifferByCase)
{
    const Vel vel = Vel::parse("VEL/T;X=1;u=small;U=large;d=no date;Z=");
    EXPECT_EQ(vel.name()->unit(), "large");
    EXPECT_EQ(vel.production()->date().day(), 0U);
}

TEST(Vel, aRefusalNamesFieldPositionAndExpectation)
{
    struct Case
    {
        std::string text;
        std::string refusal;
    };
    const std::string date = "expected a calendar date YYYY-MM-DD or 0000-00-00";
    const auto largest = std::to_string(std::numeric_limits<std::size_t>::max());
    const std::string version = "expected two decimal numbers joined by \".\", each at most " + largest;
    const std::vector<Case> cases{
        {"", "start, byte 0: expected \"VEL/\""},
        {"VEL", "start, byte 0: expected \"VEL/\""},
        {"vel/T", "start, byte 0: expected \"VEL/\""},
        {" VEL/T", "start, byte 0: expected \"VEL/\""},
        {"VEL/T;;", "field, byte 6: expected a field letter"},
        {"VEL/T; U=x", "field, byte 6: expected a field letter"},
        {"VEL/T;=x", "field, byte 6: expected a field letter"},
        {"VEL/T;\xC3\x84=x", "field, byte 6: expected a field letter"},
        {"VEL/T;U", "field U, byte 7: expected \"=\" after the field letter"},
        {"VEL/T;U;P=1", "field U, byte 7: expected \"=\" after the field letter"},
        {"VEL/T;AB=x", "field A, byte 7: expected \"=\" after the field letter"},
        {"VEL/T;U=1;P=2;U=1", "field U, byte 14: expected a field that has not occurred before"},
        {"VEL/T;X=1;X=2", "field X, byte 10: expected a field that has not occurred before"},
        {"VEL/T\\", "type, byte 6: expected a character after the backslash"},
        {"VEL/T;U=x\\", "field U, byte 10: expected a character after the backslash"},
        {"VEL/T;U=x;D=", "field D, byte 12: " + date},
        {"VEL/T;E=", "field E, byte 8: " + version},
    };
    for (const Case& each : cases)
        EXPECT_EQ(refusalOf(each.text), "Invalid VEL: " + each.refusal) << each.text;
}

TEST(Vel, onlyDatesOfTheCalendarAndTheUnsetDateAreAccepted)
{
    EXPECT_EQ(dateOf("0000-00-00"), "0/0/0");
    EXPECT_EQ(dateOf("0007-01-02"), "7/1/2");
    EXPECT_EQ(dateOf("9999-12-31"), "9999/12/31");
    EXPECT_EQ(dateOf("2000-02-29"), "2000/2/29");
    EXPECT_EQ(dateOf("2024-02-29"), "2024/2/29");

    for (const std::string date :
         {"2021-02-29", "1900-02-29", "2021-04-31",  "2021-13-01",  "2021-00-01",  "2021-01-00",
          "2021-01-32", "2021-00-00", "0000-00-01",  "21-03-05",    "02021-03-05", "2021-3-05",
          "2021-03-5",  "2021/03/05", "2021-03-05 ", " 2021-03-05", "+021-03-05",  "-021-03-05",
          "2021-+3-05", "202x-03-05", "2021-03-0x",  "2021-03-05T"})
        EXPECT_NE(refusalOf("VEL/T;D=" + date).find("field D, byte 8: "), std::string::npos) << date;
}

TEST(Vel, theNumbersOfAnEclMayBeAsLargeAsTheMachineCounts)
{
    const std::string largest = std::to_string(std::numeric_limits<std::size_t>::max());
    std::string beyond = largest;
    ++beyond.back(); // the largest number ends in 5, whatever the width
    const auto ecl = Vel::parse("VEL/T;E=" + largest + ".007").production()->ecl();
    EXPECT_EQ(ecl.major(), std::numeric_limits<std::size_t>::max());
    EXPECT_EQ(ecl.minor(), 7U);

    for (const std::string& text :
         {beyond + ".0", "0." + beyond, largest + "0.0", std::string{"1"}, std::string{"1."}, std::string{".1"},
          std::string{"1.2.3"}, std::string{"+1.2"}, std::string{"-1.2"}, std::string{"1.-2"}, std::string{"1 .2"},
          std::string{"1.2 "}, std::string{"0x1.2"}, std::string{"1,2"}, std::string("1.2\0", 4)})
        EXPECT_NE(refusalOf("VEL/T;E=" + text).find("field E, byte 8: "), std::string::npos) << text;
}
