// The documents of the protocol: requests are built here, announcements and answers are taken
// apart here. Strings are UTF-8 as they travel.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

#include "support/xmlParser.h"

namespace client {

inline constexpr const char* rootElement = "ZelvDocRoot";

/// The request document for `command` with its `param` elements in order.
std::string requestText(const char* command, std::initializer_list<std::string> params = {});

/// Reads the payload size out of an announcement document; false when it names none.
bool announcedSize(const std::string& announcement, uint64_t& size);

/// The root element of an answer, or the empty node when `text` holds none.
XMLNode parseAnswer(const std::string& text);

/// The text of `node`, empty when it has none.
std::string textOf(const XMLNode& node);
/// The text of the first child of that name, empty when there is none.
std::string childText(const XMLNode& node, const char* child);
/// The value of that attribute, empty when there is none.
std::string attributeText(const XMLNode& node, const char* attribute);

/// Whether the `errRtn` text of an answer tells of success.
bool isSuccess(const std::string& errRtn);

/// Whether `command` is one of those that the agent carries out and never answers.
bool isUnanswered(const std::string& command);
/// The text of the `cmd` element of a request, empty when there is none.
std::string commandOf(const std::string& request);

}  // namespace client
