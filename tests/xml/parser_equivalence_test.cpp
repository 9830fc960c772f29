#include "documents.h"

#include "support/files.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using Tests::identity;
using Tests::outcomeOf;
using Tests::repeated;
using Tolvek::Orvan::DeviceId::extractVelFromDeviceIdXml;
using Tolvek::Orvan::DeviceId::Info;

namespace
{

const xmlChar* toXml(const char* text)
{
    return reinterpret_cast<const xmlChar*>(text);
}

std::string takeText(xmlChar* text)
{
    const std::unique_ptr<xmlChar, void (*)(void*)> owned{text, xmlFree};
    return text != nullptr ? reinterpret_cast<const char*>(text) : "(none)";
}

/// Part number and VEL as libxml2 gives them without any precautions.
std::string readPlainly(const std::string& xml)
{
    const std::unique_ptr<xmlDoc, void (*)(xmlDocPtr)> document{xmlParseDoc(toXml(xml.c_str())), xmlFreeDoc};
    if (!document)
        return "malformed";
    xmlNode* const root = xmlDocGetRootElement(document.get());
    const xmlAttr* const part = xmlHasProp(root, toXml("partNo"));
    const xmlNode* const vel = xmlLastElementChild(root);
    return takeText(xmlNodeGetContent(reinterpret_cast<const xmlNode*>(part))) + '|' +
           takeText(xmlNodeListGetString(document.get(), vel->children, 1));
}

std::string readGuarded(const std::string& xml)
{
    const auto outcome =
        outcomeOf([&] { return Info::parse(xml).partNumber() + '|' + extractVelFromDeviceIdXml(xml); });
    return outcome == "refused" ? "malformed" : outcome;
}

std::string declared(const std::string& encoding, const std::string& text)
{
    return "<?xml version='1.0' encoding='" + encoding + "'?>" + text;
}

const std::string nested = "<!ENTITY who 'me'><!ENTITY both '&who; &amp; &#38;who;'><!ENTITY part '<i>A</i>B&both;'>";

std::vector<std::string> documents()
{
    return {
        identity("it is &who;", "<!ENTITY who 'me'>"),
        identity("&both;, &part;", nested, "&who;&both;&#x20AC;&lt;&quot;"),
        identity("&who;<!-- &none; --><![CDATA[&who;<]]]]>&part;<b>&who;</b>&apos;", nested),
        identity("&none;A", "<!ENTITY % p SYSTEM 'u'>%p;"),
        identity("&e;A", "<!ENTITY e SYSTEM 'u'>"),
        identity("<![CDATA[]]>", "", " a\t b\r\n&#10;c "),
        identity(" \r\n &#13; x"),
        identity("x", "<!ATTLIST d:deviceid partNo NMTOKEN #IMPLIED other CDATA 'y'>", "  a   b "),
        identity("x", "<!ELEMENT d:deviceid ANY><!NOTATION n SYSTEM 'n'><!ENTITY u SYSTEM 'f' NDATA n>"),
        identity("&u;", "<!NOTATION n SYSTEM 'n'><!ENTITY u SYSTEM 'f' NDATA n>"),
        identity("&e;A", "<!ENTITY e ''><!ENTITY e 'the first counts'>", "&e;a"),
        identity("&e;A", "<!ENTITY e '<b>&#38;#60;</b>'>"),
        identity(repeated(500, "&a;<!-- -->x"), "<!ENTITY a 'y<![CDATA[z]]>'>"),
        identity(repeated(7'000, "&amp;"), "", repeated(3'000, "&lt;")),
        identity("&e;", "<!ENTITY e '</q:vel>'>"),
        identity("<?pi?>A<?pi x?>B"),
        "\xEF\xBB\xBF" + identity("A"),
        declared("UTF-8", identity("\xE2\x82\xAC", "<!ENTITY e '\xC3\xA9'>", "&e;")),
        declared("ISO-8859-1", identity("\xE9&e;", "<!ENTITY e '\xE8'>", "\xC0")),
        declared("UTF-7", identity("A+IKw-")),
        declared("Shift_JIS", identity("\x83\x65")),
        declared("ascii", identity("\xE9")),
        declared("UTF-16", identity("A")),
        declared("nobody-knows", identity("A")),
        declared("", identity("A")),
        "<?xml version='1.0' standalone='yes'?>" + identity("&none;"),
        "<?xml version='1.1'?>" + identity("A"),
        identity("A") + "<!-- behind -->\n",
        identity("A") + "<behind/>",
    };
}

/// Sets everything that a program can set for the whole process as no reader here expects it, while the result lives.
/// Warnings stay: a program that wants none gets none.
[[nodiscard]] std::shared_ptr<void> otherDefaults()
{
    auto* const loader = xmlGetExternalEntityLoader();
    xmlSetExternalEntityLoader([](const char*, const char*, xmlParserCtxtPtr context)
                               { return xmlNewStringInputStream(context, toXml("<!ENTITY none 'loaded'>")); });
    const std::array before{xmlSubstituteEntitiesDefault(1),
                            xmlKeepBlanksDefault(0),
                            xmlPedanticParserDefault(1),
                            xmlLineNumbersDefault(1),
                            std::exchange(xmlLoadExtDtdDefaultValue, XML_COMPLETE_ATTRS),
                            std::exchange(xmlDoValidityCheckingDefaultValue, 1)};
    return Tests::atEnd(
        [loader, before]
        {
            xmlSetExternalEntityLoader(loader);
            xmlSubstituteEntitiesDefault(before[0]);
            xmlKeepBlanksDefault(before[1]);
            xmlPedanticParserDefault(before[2]);
            xmlLineNumbersDefault(before[3]);
            xmlLoadExtDtdDefaultValue = before[4];
            xmlDoValidityCheckingDefaultValue = before[5];
        });
}

} // namespace

TEST(GuardedParser, ordinaryDocumentsReadAsWithoutPrecautions)
{
    EXPECT_EQ(readGuarded(identity("it is &who;", "<!ENTITY who 'me'>")), "1|it is me");
    for (const std::string& document : documents())
        EXPECT_EQ(readGuarded(document), readPlainly(document)) << document;
}

TEST(GuardedParser, settingsOfTheProcessDoNotMatter)
{
    std::string withoutName = identity("x", "<!ATTLIST d:deviceid name CDATA 'by default'>");
    withoutName.erase(withoutName.find(" name='3'"), 9);
    EXPECT_EQ(readGuarded(withoutName), "Internal error.");
    const auto readAndPrinted = [](const std::string& document)
    {
        const Tests::LogCapture log; // lines on standard error would tell the time
        testing::internal::CaptureStderr();
        const std::string read = readGuarded(document);
        return read + testing::internal::GetCapturedStderr();
    };
    auto all = documents();
    all.push_back(withoutName);
    for (const std::string& document : all)
    {
        const std::string expected = readAndPrinted(document);
        const auto changed = otherDefaults();
        EXPECT_EQ(readAndPrinted(document), expected) << document;
    }
    const std::string plain = identity("&none;", "<!ENTITY % p SYSTEM 'u'>%p;");
    const auto changed = otherDefaults();
    EXPECT_NE(readGuarded(plain), readPlainly(plain)) << "the settings have no effect on anybody";
}

TEST(GuardedParser, nothingIsOpenedForADocument)
{
    const Tests::TemporaryFolder folder;
    const std::string file = folder.path() / "answer";
    std::ofstream{file} << "<!ENTITY none 'loaded'>";
    const int notifier = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    const auto closed = Tests::atEnd([notifier] { close(notifier); });
    inotify_add_watch(notifier, file.c_str(), IN_OPEN);
    const auto wasOpened = [notifier]
    {
        std::array<char, 4096> events{};
        return read(notifier, events.data(), events.size()) > 0;
    };
    EXPECT_EQ(Tests::contentOf(file), "<!ENTITY none 'loaded'>");
    ASSERT_TRUE(wasOpened());

    std::vector<std::string> places{file, "file://" + file, "file://localhost" + file};
    for (const std::string protocol : {"http", "https", "ftp"})
        places.push_back(protocol + "://127.0.0.1:9/answer");
    for (const std::string& place : places)
    {
        const std::string system = "SYSTEM '" + place + "'";
        const std::vector<std::string> references{
            identity("&e;A", "<!ENTITY e " + system + ">"),
            identity("&e;A", "<!ENTITY e PUBLIC 'id' '" + place + "'>"),
            identity("A", "<!ENTITY % e " + system + ">%e;"),
            "<!DOCTYPE x " + system + ">" + identity("A"),
            "<!DOCTYPE x " + system + " [<!ATTLIST x y CDATA 'z'>]>" + identity("&none;A"),
            "<?oasis-xml-catalog catalog='" + place + "'?><!DOCTYPE x PUBLIC 'id' 'u'>" + identity("A"),
            "<?xml-stylesheet href='" + place + "'?>" +
                identity("A<x:i xmlns:x='http://www.w3.org/2001/XInclude' href='" + place + "'/>"),
        };
        for (const std::string& document : references)
        {
            EXPECT_EQ(readGuarded(document), "1|A") << document;
            const auto changed = otherDefaults();
            EXPECT_EQ(readGuarded(document), "1|A") << document;
        }
    }
    EXPECT_FALSE(wasOpened());
}
