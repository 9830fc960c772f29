#pragma once

#include "xml/xml_handles.h"

#include <string>

namespace Tolvek::Orvan::DeviceId
{

/// A parsed device-ID XML document. Every text from outside is parsed here and nowhere else.
///
/// Its life spans the use of libxml2's process-wide parser state: what was made from the document must be gone before
/// it, and two documents must not live at the same time.
class Document
{
public:
    /// \param xml ends at its first NUL character
    /// \throws std::invalid_argument if it is not well-formed XML or goes beyond a limit
    explicit Document(const std::string& xml);
    ~Document();

    Document(const Document&) = delete;
    Document(Document&&) = delete;
    Document& operator=(const Document&) = delete;
    Document& operator=(Document&&) = delete;

    [[nodiscard]] xmlDocPtr get() const noexcept { return document_.get(); }

private:
    XmlDocument document_;
};

} // namespace Tolvek::Orvan::DeviceId
