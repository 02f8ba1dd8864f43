// Answers of the agent, taken apart: documents, their fields and their items. Texts are UTF-8 as
// they came, without the white space around them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "support/xmlParser.h"

namespace companion {

/// The root element of a document of the protocol, be it an answer, an announcement or a request;
/// the empty node when `text` holds none. The tree belongs to one thread at a time.
XMLNode parseDocument(const std::string& text);

/// The text of `node`; empty when it has none.
std::string textOf(const XMLNode& node);
/// The text of the first child of that name; empty when there is none.
std::string childText(const XMLNode& node, const char* child);
/// The value of that attribute; empty when there is none.
std::string attributeText(const XMLNode& node, const char* attribute);

/// The list of an answer (windows, packages), in its order.
std::vector<XMLNode> itemsOf(const XMLNode& document);

/// The result that an answer tells, one of the texts in support/protocol.h; empty when it tells
/// none.
std::string resultOf(const XMLNode& document);
/// Whether a result tells of success.
bool isSuccess(std::string_view result) noexcept;

}  // namespace companion
