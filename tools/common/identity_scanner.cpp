#include "common/identity_scanner.h"

#include <expat.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <type_traits>

namespace Tolvek::Orvan::DeviceId::Tools
{

namespace
{

constexpr std::string_view kCommon = "http://www.tolvek.com/deviceid/common";
constexpr std::string_view kQnet = "http://www.tolvek.com/deviceid/quennet";
/// Joins namespace and name; no namespace name can contain it.
constexpr char kSeparator = '\f';
/// Attributes and namespaces of all elements together. Declared defaults multiply them; no document that the library
/// reads has more.
constexpr std::size_t kMostAttributes = 16384;
constexpr std::size_t kMostText = 65536;

using Parser = std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)>;

struct QualifiedName
{
    explicit QualifiedName(std::string_view joined)
    {
        const auto separator = joined.find(kSeparator);
        const bool isQualified = separator != std::string_view::npos;
        space = isQualified ? joined.substr(0, separator) : std::string_view{};
        local = isQualified ? joined.substr(separator + 1) : joined;
    }

    std::string_view space;
    std::string_view local;
};

/// Where the meaning of an element's text goes.
enum class Text
{
    Ignored,
    VelType,
};

class Scan
{
public:
    Scan(XML_Parser parser, ScannedDocument& document)
        : parser_{parser}
        , document_{document}
    {
        XML_SetUserData(parser_, this);
        XML_SetXmlDeclHandler(parser_, [](void* self, const char* /*version*/, const char* encoding, int /*alone*/)
                              { of(self).document_.encoding = encoding != nullptr ? encoding : ""; });
        XML_SetNamespaceDeclHandler(
            parser_, [](void* self, const char* /*prefix*/, const char* /*uri*/) { of(self).countAttribute(); },
            nullptr);
        XML_SetElementHandler(
            parser_, [](void* self, const char* name, const char** attributes) { of(self).begin(name, attributes); },
            [](void* self, const char* /*name*/) { of(self).end(); });
        XML_SetCharacterDataHandler(parser_,
                                    [](void* self, const char* text, int length) {
                                        of(self).add({text, static_cast<std::size_t>(length)});
                                    });
    }

    [[nodiscard]] Position position() const
    {
        return {XML_GetCurrentLineNumber(parser_), XML_GetCurrentColumnNumber(parser_) + 1};
    }

private:
    static Scan& of(void* self) { return *static_cast<Scan*>(self); }

    void countAttribute()
    {
        if (++attributes_ > kMostAttributes)
            XML_StopParser(parser_, XML_FALSE);
    }

    void begin(const char* joinedName, const char** attributes)
    {
        const QualifiedName name{joinedName};
        text_ = Text::Ignored;
        if (depth_ == 0)
            beginRoot(name);
        else if (depth_ == 1)
            beginChild(name);
        for (; *attributes != nullptr; attributes += 2)
        {
            countAttribute();
            readAttribute(name, QualifiedName{attributes[0]}, attributes[1]);
        }
        ++depth_;
    }

    void end()
    {
        --depth_;
        text_ = Text::Ignored;
    }

    void beginRoot(const QualifiedName& name)
    {
        document_.root = name.local;
        document_.rootPosition = position();
        isDeviceId_ = name.local == "deviceid";
        rootSpace_ = name.space;
        document_.isRootSpaceKnown = rootSpace_.empty() || rootSpace_ == kCommon;
    }

    void beginChild(const QualifiedName& name)
    {
        isProduction_ = isDeviceId_ && name.local == "production" && name.space == rootSpace_;
        if (isProduction_ && !document_.productionPosition)
            document_.productionPosition = position();
        if (!isDeviceId_ || rootSpace_ != kCommon || name.space != kQnet)
            return;
        if (name.local == "vel")
            ++document_.vels;
        if (name.local == "velType" && !document_.velType)
        {
            text_ = Text::VelType;
            document_.velType.emplace();
        }
    }

    void readAttribute(const QualifiedName& element, const QualifiedName& name, const char* value)
    {
        if (!isDeviceId_ || depth_ > 1)
            return;
        if (depth_ == 0)
            readRootAttribute(name, value);
        else if (isProduction_)
            readProductionAttribute(name, value);
        else if (rootSpace_ == kCommon && element.space == kQnet && element.local == "ecl" && name.space.empty())
            readEcl(name.local, value);
    }

    void readRootAttribute(const QualifiedName& name, const char* value)
    {
        if (name.local == "partNo")
            read(document_.partNumber, name, value);
        else if (name.local == "serialNo")
            read(document_.serialNumber, name, value);
        else if (name.local == "name")
            read(document_.name, name, value);
    }

    void readProductionAttribute(const QualifiedName& name, const char* value)
    {
        if (name.local == "location")
            read(document_.location, name, value);
        else if (name.local == "when")
            read(document_.when, name, value);
    }

    void readEcl(std::string_view name, const char* value)
    {
        if (name == "major" && !document_.eclMajor)
            document_.eclMajor = value;
        else if (name == "minor" && !document_.eclMinor)
            document_.eclMinor = value;
    }

    void read(ScannedDocument::Attribute& attribute, const QualifiedName& name, const char* value) const
    {
        std::size_t spelling = 0;
        if (rootSpace_ == kCommon && name.space == kCommon)
            spelling = 0;
        else if (rootSpace_ == kCommon && name.space.empty())
            spelling = 1;
        else if (rootSpace_.empty() && name.space.empty())
            spelling = 2;
        else
            return;
        ++attribute.occurrences[spelling];
        attribute.values[spelling] = value;
    }

    void add(std::string_view text)
    {
        if (text_ == Text::VelType && document_.velType->size() < kMostText)
            document_.velType->append(text);
    }

    XML_Parser parser_;
    ScannedDocument& document_;
    std::string rootSpace_;
    std::size_t depth_ = 0;
    std::size_t attributes_ = 0;
    bool isDeviceId_ = false;
    bool isProduction_ = false;
    Text text_ = Text::Ignored;
};

} // namespace

const std::string* ScannedDocument::Attribute::value() const
{
    const auto* const found = std::find(occurrences.begin(), occurrences.end(), 1U);
    return found == occurrences.end() ? nullptr : &values[static_cast<std::size_t>(found - occurrences.begin())];
}

bool ScannedDocument::Attribute::isRepeated() const
{
    return value() == nullptr && std::any_of(occurrences.begin(), occurrences.end(), [](auto n) { return n > 1; });
}

std::optional<XmlError> scan(const std::string& xml, ScannedDocument& document)
{
    // What a document declares is passed over: D-Bus carries UTF-8, and declared encodings differ in no markup.
    const Parser parser{XML_ParserCreateNS("UTF-8", kSeparator), &XML_ParserFree};
    if (!parser)
        throw std::bad_alloc{};
    const Scan scan{parser.get(), document};
    if (XML_Parse(parser.get(), xml.data(), static_cast<int>(xml.size()), XML_TRUE) == XML_STATUS_OK)
        return std::nullopt;
    const auto code = XML_GetErrorCode(parser.get());
    return XmlError{scan.position(), code == XML_ERROR_ABORTED ? "too many attributes" : XML_ErrorString(code)};
}

} // namespace Tolvek::Orvan::DeviceId::Tools
