#include "unchecked_answer.h"

#include <cstdint>

#include <unistd.h>

namespace
{

constexpr std::size_t kFieldAlignment = 8;

void align(std::string& bytes, std::size_t to)
{
    bytes.resize((bytes.size() + to - 1) / to * to);
}

void appendNumber(std::string& bytes, std::uint32_t number)
{
    align(bytes, sizeof(number));
    bytes.append(reinterpret_cast<const char*>(&number), sizeof(number));
}

void appendText(std::string& bytes, const std::string& text)
{
    appendNumber(bytes, static_cast<std::uint32_t>(text.size()));
    bytes += text + '\0';
}

/// The head of a field: its code, and the type of what follows.
void beginField(std::string& fields, char code, char type)
{
    align(fields, kFieldAlignment);
    fields += {code, 1, type, 0};
}

std::string headerFields(std::uint32_t replySerial, const std::string& destination)
{
    std::string fields;
    beginField(fields, 5, 'u');
    appendNumber(fields, replySerial);
    beginField(fields, 6, 's');
    appendText(fields, destination);
    beginField(fields, 8, 'g');
    fields += {1, 's', 0};
    return fields;
}

} // namespace

int answerUnchecked(sd_bus_message* call, const std::string& text)
{
    constexpr char kByteOrder = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? 'l' : 'B';
    constexpr std::uint32_t kSerial = 0x7fffffff; // one that the library does not use
    std::uint64_t asked = 0;
    if (const auto result = sd_bus_message_get_cookie(call, &asked); result < 0)
        return result;
    const auto fields = headerFields(static_cast<std::uint32_t>(asked), sd_bus_message_get_sender(call));
    std::string body;
    appendText(body, text);

    std::string message{kByteOrder, 2, 1, 1}; // an answer, to which none is expected, of protocol version 1
    appendNumber(message, static_cast<std::uint32_t>(body.size()));
    appendNumber(message, kSerial);
    appendNumber(message, static_cast<std::uint32_t>(fields.size()));
    message += fields;
    align(message, kFieldAlignment);
    message += body;
    const auto written = write(sd_bus_get_fd(sd_bus_message_get_bus(call)), message.data(), message.size());
    return written == static_cast<ssize_t>(message.size()) ? 0 : -1;
}
