#pragma once

#include "xml/xml_handles.h"

#include <string>

namespace Tolvek::Orvan::DeviceId
{

/// Writes an XML document into memory. Each step returns what libxml2 returns, negative for a failure; after one, the
/// document is of no use.
class DocumentWriter
{
public:
    /// \throws std::runtime_error if libxml2 cannot provide a buffer or a writer
    DocumentWriter();

    int startDocument();
    int startElement(const char* prefix, const char* name, const char* namespaceName);
    int writeAttribute(const char* name, const std::string& value);
    int writeText(const std::string& value);
    int endElement();
    int endDocument();

    /// What is to be said about the step that failed, beyond that it did; often nothing.
    [[nodiscard]] const std::string& problem() const noexcept { return problem_; }

    /// The document. Ends the writing.
    std::string finish();

private:
    bool isWritable(const std::string& value);

    XmlBuffer buffer_;
    XmlTextWriter writer_; ///< flushes into the buffer when it goes, so it must go first
    std::string problem_;
};

} // namespace Tolvek::Orvan::DeviceId
