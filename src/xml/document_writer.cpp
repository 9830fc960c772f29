#include "xml/document_writer.h"

#include "xml/xml_characters.h"

#include <stdexcept>

namespace Tolvek::Orvan::DeviceId
{

DocumentWriter::DocumentWriter()
    : buffer_{xmlBufferCreate()}
{
    if (!buffer_)
        throw std::runtime_error("Could not create XML buffer");
    writer_.reset(xmlNewTextWriterMemory(buffer_.get(), 0));
    if (!writer_)
        throw std::runtime_error("Could not create XML writer");
}

int DocumentWriter::startDocument()
{
    return xmlTextWriterStartDocument(writer_.get(), nullptr, nullptr, nullptr);
}

int DocumentWriter::startElement(const char* prefix, const char* name, const char* namespaceName)
{
    return xmlTextWriterStartElementNS(writer_.get(), toXml(prefix), toXml(name), toXml(namespaceName));
}

int DocumentWriter::writeAttribute(const char* name, const std::string& value)
{
    return isWritable(value) ? xmlTextWriterWriteAttribute(writer_.get(), toXml(name), toXml(value.c_str())) : -1;
}

int DocumentWriter::writeText(const std::string& value)
{
    return isWritable(value) ? xmlTextWriterWriteString(writer_.get(), toXml(value.c_str())) : -1;
}

int DocumentWriter::endElement()
{
    return xmlTextWriterEndElement(writer_.get());
}

int DocumentWriter::endDocument()
{
    return xmlTextWriterEndDocument(writer_.get());
}

std::string DocumentWriter::finish()
{
    writer_.reset();
    return fromXml(xmlBufferContent(buffer_.get()));
}

bool DocumentWriter::isWritable(const std::string& value)
{
    const auto position = findUnwritable(value);
    if (position)
        problem_ = "byte " + std::to_string(*position) + " of the value is not a character that XML can hold";
    return !position;
}

} // namespace Tolvek::Orvan::DeviceId
