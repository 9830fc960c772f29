#include <deviceid/info.h>
#include <deviceid/vel_conversion.h>

#include "documents.h"

#include <gtest/gtest.h>

#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using Tests::identity;
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
    try
    {
        return Info::parse(xml).partNumber() + '|' + extractVelFromDeviceIdXml(xml);
    }
    catch (const std::exception& error)
    {
        return std::string{error.what()} == "Invalid Device ID XML" ? "malformed" : error.what();
    }
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

/// Everything that a program can set for the whole process, set as no reader here expects it.
class OtherDefaults
{
public:
    OtherDefaults()
    {
        xmlSetExternalEntityLoader(loadText);
        exchange();
    }
    ~OtherDefaults()
    {
        exchange();
        xmlSetExternalEntityLoader(loader_);
    }
    OtherDefaults(const OtherDefaults&) = delete;
    OtherDefaults(OtherDefaults&&) = delete;
    OtherDefaults& operator=(const OtherDefaults&) = delete;
    OtherDefaults& operator=(OtherDefaults&&) = delete;

private:
    static xmlParserInputPtr loadText(const char* /*url*/, const char* /*id*/, xmlParserCtxtPtr context)
    {
        return xmlNewStringInputStream(context, toXml("<!ENTITY none 'loaded'>"));
    }

    void exchange()
    {
        substitute_ = xmlSubstituteEntitiesDefault(substitute_);
        keepBlanks_ = xmlKeepBlanksDefault(keepBlanks_);
        pedantic_ = xmlPedanticParserDefault(pedantic_);
        std::swap(loadDtd_, xmlLoadExtDtdDefaultValue);
        std::swap(validate_, xmlDoValidityCheckingDefaultValue);
        std::swap(warnings_, xmlGetWarningsDefaultValue);
    }

    xmlExternalEntityLoader loader_ = xmlGetExternalEntityLoader();
    int substitute_ = 1;
    int keepBlanks_ = 0;
    int pedantic_ = 1;
    int loadDtd_ = XML_COMPLETE_ATTRS;
    int validate_ = 1;
    int warnings_ = 0;
};

/// A file in a folder of its own that notices being opened.
class WatchedFile
{
public:
    WatchedFile()
    {
        std::string folder = std::filesystem::temp_directory_path() / "watched-XXXXXX";
        folder_ = mkdtemp(folder.data());
        std::ofstream{path()} << "<!ENTITY none 'loaded'>";
        inotify_add_watch(notifier_, path().c_str(), IN_OPEN);
    }
    ~WatchedFile()
    {
        close(notifier_);
        std::filesystem::remove_all(folder_);
    }
    WatchedFile(const WatchedFile&) = delete;
    WatchedFile(WatchedFile&&) = delete;
    WatchedFile& operator=(const WatchedFile&) = delete;
    WatchedFile& operator=(WatchedFile&&) = delete;

    [[nodiscard]] std::string path() const { return folder_ / "answer"; }

    [[nodiscard]] bool wasOpened() const
    {
        alignas(inotify_event) std::array<char, 4096> events{};
        return read(notifier_, events.data(), events.size()) > 0;
    }

private:
    std::filesystem::path folder_;
    int notifier_ = inotify_init1(IN_NONBLOCK);
};

} // namespace

TEST(GuardedParser, ordinaryDocumentsReadAsWithoutPrecautions)
{
    EXPECT_EQ(readGuarded(identity("it is &who;", "<!ENTITY who 'me'>")), "1|it is me");
    for (const std::string& document : documents())
        EXPECT_EQ(readGuarded(document), readPlainly(document)) << document;
}

TEST(GuardedParser, settingsOfTheProcessDoNotMatter)
{
    for (const std::string& document : documents())
    {
        const std::string expected = readGuarded(document);
        const OtherDefaults changed;
        EXPECT_EQ(readGuarded(document), expected) << document;
    }
    const std::string plain = identity("&none;", "<!ENTITY % p SYSTEM 'u'>%p;");
    const OtherDefaults changed;
    EXPECT_NE(readGuarded(plain), readPlainly(plain)) << "the settings have no effect on anybody";
}

TEST(GuardedParser, nothingIsOpenedForADocument)
{
    const WatchedFile file;
    std::ifstream{file.path()}.get();
    ASSERT_TRUE(file.wasOpened());

    std::vector<std::string> places{file.path(), "file://" + file.path(), "file://localhost" + file.path()};
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
            const OtherDefaults changed;
            EXPECT_EQ(readGuarded(document), "1|A") << document;
        }
    }
    EXPECT_FALSE(file.wasOpened());
}
