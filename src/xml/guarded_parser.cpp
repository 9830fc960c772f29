#include "xml/guarded_parser.h"

#include "xml/limits.h"
#include "xml/parser_messages.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/valid.h>

#include <cstring>
#include <new>
#include <string_view>
#include <utility>

namespace Tolvek::Orvan::DeviceId
{

namespace
{

using ParserContext = std::unique_ptr<xmlParserCtxt, ReleaseWith<xmlFreeParserCtxt>>;

/// What a document has used of its limits. The parser hands it on to the contexts that it makes for the content of
/// entities.
struct Usage
{
    std::size_t documentSize = 0;
    std::size_t declarations = 0;
    std::size_t predefinedDeclarations = 0;
    std::size_t entityText = 0;
    std::size_t repeatedDeclarations = 0;
    std::size_t references = 0;
    std::size_t expandedText = 0;
    std::size_t attributes = 0;
    std::size_t attributeText = 0;
    std::size_t namespaces = 0;
    std::size_t defaultNamespaces = 0;
    bool isRefused = false;
    ParserMessages messages;
};

std::size_t lengthOf(const xmlChar* text)
{
    return text != nullptr ? std::strlen(reinterpret_cast<const char*>(text)) : 0; // NOLINT(*-reinterpret-cast)
}

/// One call of a callback: the context that calls, which may be one made for the content of an entity, and the usage.
class Call
{
public:
    explicit Call(void* context)
        : context_{static_cast<xmlParserCtxtPtr>(context)}
    {
        // A context made for the content of an entity begins with the settings of the process.
        context_->validate = 0;
        context_->pedantic = 0;
    }

    [[nodiscard]] xmlParserCtxtPtr context() const noexcept { return context_; }
    [[nodiscard]] Usage& usage() const noexcept { return *static_cast<Usage*>(context_->_private); }

    /// Whether the parsing may go on. A stopped parser may come back from the content of an entity into the document,
    /// where it knows of no stop: then it is stopped again.
    bool require(bool isWithinLimits) noexcept
    {
        if (!isWithinLimits)
            usage().isRefused = true;
        if (usage().isRefused)
            xmlStopParser(context_);
        return !usage().isRefused;
    }

    bool countDeclaration(const xmlChar* name, std::size_t textLength) noexcept
    {
        Usage& used = usage();
        used.predefinedDeclarations += xmlGetPredefinedEntity(name) != nullptr ? 1U : 0U;
        used.entityText += textLength;
        return require(++used.declarations <= Limits::entityDeclarations && used.entityText <= Limits::entityText &&
                       used.predefinedDeclarations <= Limits::predefinedDeclarations);
    }

    bool countReference() noexcept
    {
        Usage& used = usage();
        return require(++used.references <= Limits::references + used.declarations);
    }

    /// \return the entity, unless its text exceeds the limit
    xmlEntityPtr countText(xmlEntityPtr entity, std::size_t& used, std::size_t limit) noexcept
    {
        used += entity != nullptr ? lengthOf(entity->content) : 0;
        return require(used <= limit + usage().entityText) ? entity : nullptr;
    }

    bool countAttributes(std::size_t count, std::size_t textLength) noexcept
    {
        Usage& used = usage();
        used.attributes += count;
        used.attributeText += textLength;
        return require(used.attributes <= Limits::attributes && used.attributeText <= Limits::attributeText);
    }

    bool countNamespaces(std::size_t count) noexcept
    {
        return require((usage().namespaces += count) <= Limits::namespaces);
    }

    bool countDefaultNamespace() noexcept { return require(++usage().defaultNamespaces <= Limits::defaultNamespaces); }

private:
    xmlParserCtxtPtr context_;
};

void beginDtd(void* context, const xmlChar* name, const xmlChar* publicId, const xmlChar* systemId) noexcept
{
    Call call{context};
    if (call.require(call.usage().documentSize <= Limits::documentSizeWithDtd))
        xmlSAX2InternalSubset(context, name, publicId, systemId);
}

void declareEntity(void* context, const xmlChar* name, int type, const xmlChar* publicId, const xmlChar* systemId,
                   xmlChar* content) noexcept
{
    Call call{context};
    if (call.countDeclaration(name, lengthOf(content) + lengthOf(publicId) + lengthOf(systemId)))
        xmlSAX2EntityDecl(context, name, type, publicId, systemId, content);
}

void declareUnparsedEntity(void* context, const xmlChar* name, const xmlChar* publicId, const xmlChar* systemId,
                           const xmlChar* notation) noexcept
{
    Call call{context};
    if (call.countDeclaration(name, lengthOf(publicId) + lengthOf(systemId)))
        xmlSAX2UnparsedEntityDecl(context, name, publicId, systemId, notation);
}

// The parser also looks each entity up once when it is declared: the declarations come on top of what is allowed.

xmlEntityPtr getEntity(void* context, const xmlChar* name) noexcept
{
    Call call{context};
    if (!call.countReference())
        return nullptr;
    return call.countText(xmlSAX2GetEntity(context, name), call.usage().expandedText, Limits::expandedText);
}

/// Within the text of a parameter entity there is an input more than the document itself. Counting alone would not do:
/// the parser repeats such references without asking.
xmlEntityPtr getParameterEntity(void* context, const xmlChar* name) noexcept
{
    Call call{context};
    const bool isNested = call.context()->inputNr > 1;
    if (!call.require(!isNested) || !call.countReference())
        return nullptr;
    return call.countText(xmlSAX2GetParameterEntity(context, name), call.usage().repeatedDeclarations,
                          Limits::repeatedDeclarations);
}

bool isNamespaceDeclaration(const xmlChar* attribute) noexcept
{
    const std::string_view name{reinterpret_cast<const char*>(attribute)}; // NOLINT(*-reinterpret-cast)
    return name == "xmlns" || name.substr(0, 6) == "xmlns:";
}

/// The parser itself sees to the defaults of attributes. Only what it does not tell at the elements is counted here.
void declareAttribute(void* context, const xmlChar* /*element*/, const xmlChar* name, int /*type*/, int /*presence*/,
                      const xmlChar* value, xmlEnumerationPtr values) noexcept
{
    xmlFreeEnumeration(values);
    if (value != nullptr && isNamespaceDeclaration(name))
        Call{context}.countDefaultNamespace();
}

/// How many entries of its arrays the parser uses for a namespace (prefix and name), and for an attribute (the last two
/// are the ends of its value).
constexpr std::size_t namespaceFields = 2;
constexpr std::size_t attributeFields = 5;

std::size_t lengthOfNamespaces(std::size_t count, const xmlChar** namespaces)
{
    std::size_t length = 0;
    for (std::size_t i = 0; i < count; ++i)
        length += lengthOf(namespaces[i * namespaceFields]) + lengthOf(namespaces[i * namespaceFields + 1]);
    return length;
}

std::size_t lengthOfValues(std::size_t count, const xmlChar** attributes)
{
    std::size_t length = 0;
    for (std::size_t i = 0; i < count; ++i)
    {
        const xmlChar** const attribute = attributes + i * attributeFields;
        length += static_cast<std::size_t>(attribute[4] - attribute[3]);
    }
    return length;
}

void startElement(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri, int namespaceCount,
                  const xmlChar** namespaces, int attributeCount, int defaulted, const xmlChar** attributes) noexcept
{
    Call call{context};
    const auto declared = static_cast<std::size_t>(namespaceCount);
    const auto given = static_cast<std::size_t>(attributeCount);
    if (call.countNamespaces(declared) &&
        call.countAttributes(declared + given,
                             lengthOfNamespaces(declared, namespaces) + lengthOfValues(given, attributes)))
        xmlSAX2StartElementNs(context, name, prefix, uri, namespaceCount, namespaces, attributeCount, defaulted,
                              attributes);
}

xmlParserInputPtr loadNothing(void* /*context*/, const xmlChar* /*publicId*/, const xmlChar* /*systemId*/) noexcept
{
    return nullptr;
}

void report(void* context, xmlErrorPtr error) noexcept
{
    if (context == nullptr || error == nullptr)
        return;
    try
    {
        Call{context}.usage().messages.report(*error);
    }
    catch (const std::bad_alloc&) // NOLINT(bugprone-empty-catch): a message less
    {
    }
}

void installCallbacks(xmlSAXHandler& handler)
{
    // Not what the process has for a default.
    xmlSAXVersion(&handler, 2);
    handler.internalSubset = beginDtd;
    handler.entityDecl = declareEntity;
    handler.unparsedEntityDecl = declareUnparsedEntity;
    handler.getEntity = getEntity;
    handler.getParameterEntity = getParameterEntity;
    handler.startElementNs = startElement;
    handler.resolveEntity = loadNothing;
    // Kept only for validation. Some of it takes quadratic time, and complaints about it would bypass the context; the
    // parser itself sees to defaults of attributes and to the white space in their values.
    handler.elementDecl = nullptr;
    handler.attributeDecl = declareAttribute;
    handler.notationDecl = nullptr;
    handler.serror = report;
}

/// A new context takes over what a host program has set for the whole process: set back, one by one. libxml2's own
/// function for options leaves some of it. Where the callbacks do not let a setting take effect today (blanks, options)
/// or nobody reads what it brings (line numbers), that need not stay so.
void resetOptions(xmlParserCtxt& context)
{
    context.options = XML_PARSE_NONET;
    context.replaceEntities = 0;
    context.loadsubset = 0;
    context.validate = 0;
    context.pedantic = 0;
    context.keepBlanks = 1;
    context.linenumbers = 0;
}

} // namespace

XmlDocument parseGuarded(const std::string& xml)
{
    const std::size_t size = strnlen(xml.c_str(), Limits::documentSize + 1);
    if (size > Limits::documentSize)
        return nullptr;
    const ParserContext context{xmlCreateMemoryParserCtxt(xml.c_str(), static_cast<int>(size))};
    if (!context)
        return nullptr;
    Usage usage;
    usage.documentSize = size;
    context->_private = &usage;
    resetOptions(*context);
    installCallbacks(*context->sax);
    xmlParseDocument(context.get());
    XmlDocument document{std::exchange(context->myDoc, nullptr)};
    // A parser that was stopped takes what it has seen for well-formed.
    if (context->wellFormed == 0 || usage.isRefused)
        document.reset();
    return document;
}

} // namespace Tolvek::Orvan::DeviceId
