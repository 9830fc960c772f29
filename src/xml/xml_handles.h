#pragma once

#include <libxml/tree.h>
#include <libxml/xmlstring.h>
#include <libxml/xmlwriter.h>
#include <libxml/xpath.h>

#include <memory>
#include <string>

namespace Tolvek::Orvan::DeviceId
{

/// Deleter that calls one of libxml2's release functions.
template <auto release>
struct ReleaseWith
{
    template <typename Handle>
    void operator()(Handle* handle) const noexcept
    {
        release(handle);
    }
};

/// Texts have a deleter of their own because `xmlFree` is a variable: a host program may put its own function there.
struct ReleaseText
{
    void operator()(xmlChar* text) const noexcept { xmlFree(text); }
};

using XmlDocument = std::unique_ptr<xmlDoc, ReleaseWith<xmlFreeDoc>>;
using XmlText = std::unique_ptr<xmlChar, ReleaseText>;
using XmlBuffer = std::unique_ptr<xmlBuffer, ReleaseWith<xmlBufferFree>>;
using XmlTextWriter = std::unique_ptr<xmlTextWriter, ReleaseWith<xmlFreeTextWriter>>;
using XPathContext = std::unique_ptr<xmlXPathContext, ReleaseWith<xmlXPathFreeContext>>;
using XPathResult = std::unique_ptr<xmlXPathObject, ReleaseWith<xmlXPathFreeObject>>;

/// libxml2 reads and writes texts as unsigned bytes.
inline const xmlChar* toXml(const char* text) noexcept
{
    return reinterpret_cast<const xmlChar*>(text); // NOLINT(cppcoreguidelines-pro-type-reinterpret-cast)
}

inline std::string fromXml(const xmlChar* text)
{
    return reinterpret_cast<const char*>(text); // NOLINT(cppcoreguidelines-pro-type-reinterpret-cast)
}

} // namespace Tolvek::Orvan::DeviceId
