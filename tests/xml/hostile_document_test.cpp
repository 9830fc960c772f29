#include "documents.h"

#include "support/files.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

using namespace Tests;
using Tolvek::Orvan::DeviceId::velToDeviceIdXml;

namespace
{

const std::string refused = "refused";

void expectRefused(const std::string& what, const std::string& xml)
{
    EXPECT_EQ(velIn(xml), refused) << what;
    EXPECT_EQ(partNumberIn(xml), refused) << what;
}

std::string entity(const std::string& name, const std::string& text)
{
    return "<!ENTITY " + name + " '" + text + "'>";
}

/// What reading a document prints on standard error.
std::string printedFor(const std::string& xml)
{
    testing::internal::CaptureStderr();
    velIn(xml);
    return testing::internal::GetCapturedStderr();
}

void expectFewLines(const std::string& what, const std::string& printed)
{
    EXPECT_LE(std::count(printed.begin(), printed.end(), '\n'), 10) << what;
    EXPECT_LE(printed.size(), 1'024U) << what;
    EXPECT_TRUE(std::all_of(printed.begin(), printed.end(),
                            [](char byte) { return byte == '\n' || (byte >= ' ' && byte <= '~'); }))
        << what;
}

} // namespace

TEST(HostileDocument, everyOneOfTheCollectionIsRefusedWithFewWords)
{
    std::size_t count = 0;
    for (const auto& file : std::filesystem::directory_iterator{HOSTILE_DOCUMENTS})
    {
        const std::string name = file.path().filename();
        const std::string xml = contentOf(file);
        expectFewLines(name, printedFor(xml));
        EXPECT_EQ(velIn(xml), refused) << name;
        // In some, only the text of one element is beyond all measure; who does not read it is not concerned.
        EXPECT_EQ(partNumberIn(xml), name.rfind("text-", 0) == 0 ? "1" : refused) << name;
        ++count;
    }
    EXPECT_GT(count, 40U);
}

TEST(HostileDocument, whatIsNoDocumentOrTooLargeIsRefusedWithoutALogLine)
{
    const LogCapture log;
    for (const std::string& text : {std::string{}, std::string{"VEL/T"}, std::string{"<deviceid>"},
                                    std::string{"<deviceid name='\x01'/>"}, std::string("\0<deviceid/>", 12)})
        expectRefused(text, text);
    EXPECT_TRUE(log.lines().empty());

    std::string attributes = "<deviceid";
    for (int i = 0; i < 100'000; ++i)
        attributes.append(" a").append(std::to_string(i)).append("=''");
    expectRefused("attributes", attributes + "/>");
    expectRefused("text", identity(repeated(8'000'000, "a text, ")));
    expectRefused("elements", "<a>" + repeated(1'000'000, "<b/>") + "</a>");
    expectRefused("depth", repeated(1'000'000, "<a>"));

    const std::size_t rest = identity("").size();
    const std::string largest(65'536 - rest, 'x');
    EXPECT_EQ(velIn(identity(largest)), largest);
    EXPECT_EQ(partNumberIn(identity(largest)), "1");
    expectRefused("one byte more", identity(largest + "x"));
    EXPECT_EQ(velIn(identity("x") + '\0' + std::string(100'000, 'x')), "x") << "what follows a NUL does not count";
}

TEST(HostileDocument, eachLimitIsReachedButNotExceeded)
{
    const auto declarations = [](std::size_t count)
    {
        std::string dtd;
        for (std::size_t i = 0; i < count; ++i)
            dtd += entity("e" + std::to_string(i), "x");
        return identity("&e0;", dtd);
    };
    const auto predefined = [](std::size_t count)
    { return identity("&lt;", repeated(count, entity("lt", "&#38;#60;"))); };
    const auto references = [](std::size_t count, std::size_t size)
    { return identity(repeated(count, "&e;"), entity("e", std::string(size, 'x'))); };
    const auto identifiers = [](std::size_t size)
    { return identity("x", "<!ENTITY e PUBLIC 'id' '" + std::string(size - 2, 'x') + "'>"); };
    const auto withDtd = [](std::size_t size)
    { return identity(std::string(size - identity("", "<!---->").size(), 'x'), "<!---->"); };
    // Seven attributes stand in every such document; a declaration gives the others to the elements i and j.
    const auto attributes = [](std::size_t count)
    {
        std::string dtd = "<!ATTLIST j a CDATA ''><!ATTLIST i";
        for (int i = 0; i < 100; ++i)
            dtd += " a" + std::to_string(i) + " CDATA ''";
        return identity(repeated((count - 7) / 100, "<i/>") + repeated((count - 7) % 100, "<j/>") + "x", dtd + ">");
    };
    const auto attributeText = [](std::size_t size)
    {
        constexpr std::size_t kDefault = 1000;
        const auto rest =
            size - ("d" + commonNamespace + "q" + qnetNamespace + "123" + "4" + "2021-03-05T00:00:00").size();
        return identity(repeated(rest / kDefault, "<i/>") + "<j a='" + std::string(rest % kDefault, 'x') + "'/>x",
                        "<!ATTLIST i a CDATA '" + std::string(kDefault, 'x') + "'>");
    };
    // Two namespaces stand in every such document.
    const auto namespaces = [](std::size_t count) { return identity(repeated(count - 2, "<i xmlns='u'/>") + "x"); };
    const auto defaultNamespaces = [](std::size_t count)
    {
        return identity("x", "<!ATTLIST i xmlns CDATA 'u'" + repeated(count - 1, " xmlns:a CDATA 'u'") +
                                 " xmlns:b CDATA #IMPLIED xmlnsc CDATA 'u'>");
    };
    struct Edge
    {
        std::string what;
        std::string within;
        std::string beyond;
    };
    for (const Edge& edge : std::vector<Edge>{
             {"declarations", declarations(64), declarations(65)},
             {"predefined entities", predefined(5), predefined(6)},
             {"text of entities", references(1, 16'384), references(1, 16'385)},
             {"identifiers of entities", identifiers(16'384), identifiers(16'385)},
             {"references", references(4'096, 1), references(4'097, 1)},
             {"size with a DTD", withDtd(40'960), withDtd(40'961)},
             {"attributes", attributes(16'384), attributes(16'385)},
             {"namespaces", namespaces(128), namespaces(129)},
             {"namespaces by default", defaultNamespaces(4), defaultNamespaces(5)},
             {"text of attributes", attributeText(262'144), attributeText(262'145)},
         })
    {
        EXPECT_NE(velIn(edge.within), refused) << edge.what;
        EXPECT_EQ(partNumberIn(edge.within), "1") << edge.what;
        expectRefused(edge.what, edge.beyond);
    }
    // What references lead to, for the parser: 64 times 16 KiB. In a value, each node costs a byte beside its text.
    EXPECT_EQ(partNumberIn(references(64, 16'384)), "1");
    expectRefused("text that references lead to", references(65, 16'384));
    const auto value = [](const std::string& end)
    { return identity(repeated(64, "&e;") + end, entity("e", std::string(16'382, 'x'))); };
    EXPECT_EQ(velIn(value("")).size(), 64U * 16'382U);
    EXPECT_EQ(velIn(value("<!---->")), refused);
}

TEST(HostileDocument, parameterEntitiesMayDeclareButNotNest)
{
    EXPECT_EQ(velIn(identity("&who;", "<!ENTITY % p \"<!ENTITY who 'me'>\">%p;")), "me");
    expectRefused("nested", identity("x", "<!ENTITY % p ''><!ENTITY % q '&#37;p;'>%q;"));
    expectRefused("declares another", identity("x", "<!ENTITY % p \"<!ENTITY &#37; q 'y'>\">%p;"));
    const std::string comment = "<!ENTITY % p '<!--" + std::string(5'000, 'x') + "-->'>";
    EXPECT_EQ(velIn(identity("x", comment + repeated(3, "%p;<!-- -->"))), "x");
    expectRefused("repeated", identity("x", comment + repeated(4, "%p;<!-- -->")));
}

TEST(HostileDocument, complaintsEndAfterAFewAndCarryNothingOfTheDocumentToATerminal)
{
    for (const std::string& unit : std::vector<std::string>{"&x;", "&#1;", "<q:a/>", "<a b='' b=''/>", "\x01", "<a",
                                                            "<a xml:id='1'/>", "&\xC2\x9B;", "<a xmlns:b='%'/>"})
        expectFewLines(unit, printedFor("<deviceid>" + repeated(3'000, unit) + "</deviceid>"));
    for (const std::string& unit :
         std::vector<std::string>{"<!ENTITY lt 'y'>", "<!NOTATION a SYSTEM 'u'>", "<!ELEMENT a ANY>", "%p;",
                                  "<!ATTLIST a b ID #IMPLIED c ID #IMPLIED d ID #IMPLIED>", "<!ATTLIST a b ID ''>"})
        expectFewLines(unit, printedFor("<!DOCTYPE x SYSTEM 'u' [" + repeated(700, unit) + "]><x/>"));
    expectFewLines("a long name", printedFor("<" + std::string(40'000, 'a') + ">"));
    EXPECT_NE(printedFor("<a>").find("Entity: line 1: parser error : Premature end of data in tag a line 1\n"),
              std::string::npos);
}

TEST(VelToXml, aVelThatCouldNotBeReadBackIsRefused)
{
    const LogCapture log;
    const auto outcome = [](const std::string& vel) { return outcomeOf([&] { return velToDeviceIdXml(vel); }); };
    const auto refusal = [](std::size_t size) {
        return "deviceIDXMLFromVEL: the document has " + std::to_string(size) +
               " bytes, at most 65536 can be read back";
    };
    const std::string frame = velToDeviceIdXml("VEL/T;X=");
    const std::string largest = "VEL/T;X=" + std::string(65'536 - frame.size(), 'x');
    EXPECT_EQ(velIn(outcome(largest)), largest);
    EXPECT_EQ(outcome(largest + "x"), "Could not write qnet:vel value");
    EXPECT_TRUE(log.contains(1, refusal(65'537)));
    // Short itself, but each character takes five.
    EXPECT_EQ(outcome("VEL/T;X=" + std::string(20'000, '&')), "Could not write qnet:vel value");
    EXPECT_EQ(outcome("VEL/T;X=" + repeated(10'000'000, "0123456789")), "Could not write qnet:vel value");
    EXPECT_TRUE(log.contains(1, refusal(100'000'008)));
}
