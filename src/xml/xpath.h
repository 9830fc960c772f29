#pragma once

#include "xml/document.h"
#include "xml/namespaces.h"
#include "xml/xml_handles.h"

#include <string>
#include <vector>

namespace Tolvek::Orvan::DeviceId
{

/// Binds a prefix in a context; false if libxml2 refuses.
bool bindPrefix(xmlXPathContextPtr context, const char* prefix, const char* namespaceName);

/// A context for expressions on a document, in which the prefix `d` is bound to the common namespace. Throws a
/// `Failure` with the text of the step that failed: the readers of a document differ in the type of their exceptions.
template <typename Failure>
XPathContext makeXPathContext(const Document& document)
{
    XPathContext context{xmlXPathNewContext(document.get())};
    if (!context)
        throw Failure("Failed to create xpath context");
    if (!bindPrefix(context.get(), "d", commonNamespace))
        throw Failure("Failed to register DeviceID namespace");
    return context;
}

/// The text of the one node that the first successful alternative selects; an alternative that selects none or
/// several is passed over.
///
/// \param alternatives expressions in order of priority, at least one
/// \throws std::runtime_error  if no alternative selects exactly one node
/// \throws std::out_of_range   if there are no alternatives
std::string getNodeString(xmlXPathContextPtr context, const std::vector<std::string>& alternatives);

} // namespace Tolvek::Orvan::DeviceId
