#include "xml/document.h"

#include "xml/guarded_parser.h"

#include <libxml/parser.h>
#include <libxml/xmlversion.h>

#include <stdexcept>

namespace Tolvek::Orvan::DeviceId
{

Document::Document(const std::string& xml)
{
    xmlInitParser();
    xmlCheckVersion(LIBXML_VERSION);
    document_ = parseGuarded(xml);
    if (!document_)
        throw std::invalid_argument("Invalid Device ID XML");
}

Document::~Document()
{
    // The parser state must outlive the document, which a member would not see to.
    document_.reset();
    xmlCleanupParser();
}

} // namespace Tolvek::Orvan::DeviceId
