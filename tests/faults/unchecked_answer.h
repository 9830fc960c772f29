#pragma once

#include <systemd/sd-bus.h>

#include <string>

/// Answers a call with a text that the D-Bus library would refuse to send, such as one that is not UTF-8: writes the
/// message to the socket itself. \return negative on failure
int answerUnchecked(sd_bus_message* call, const std::string& text);
