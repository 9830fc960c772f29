#pragma once

#include <libxml/xmlerror.h>

#include <cstddef>

namespace Tolvek::Orvan::DeviceId
{

/// Prints what libxml2 has to say about one document, but not without end: a small document can bring about thousands
/// of complaints.
class ParserMessages
{
public:
    /// One line, laid out as libxml2 does it, where libxml2 prints: standard error unless the host program has
    /// redirected it.
    void report(const xmlError& error);

private:
    std::size_t reported_ = 0;
};

} // namespace Tolvek::Orvan::DeviceId
