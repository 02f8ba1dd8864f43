// The documents that the agent answers with: building them, and leaving them in a request's result.
#pragma once

#include <string>

#include "agent/resultContent.h"
#include "support/xmlParser.h"

namespace response {

/// A new document: the root element with its version attribute.
XMLNode newDocument();

/// Adds `<name>text</name>`, the text up to its first NUL byte. What of it cannot stand in a
/// document becomes U+FFFD, here and nowhere else, so that every answer is well-formed XML in
/// UTF-8.
void addElement(XMLNode& parent, const char* name, const std::string& text);

/// The same, but only when there is a text.
void addKnown(XMLNode& parent, const char* name, const std::string& text);

/// Adds the result element with the text that clients know `code` by; any code outside
/// protocol::ResultCode is a plain failure.
void addResult(XMLNode& document, int code);

/// Leaves the indented text of `document` in `result`, without a declaration.
void finish(const XMLNode& document, resultContent_t& result);

/// The same behind a declaration, as apps know two of the answers.
void finishDeclared(const XMLNode& document, resultContent_t& result);

}  // namespace response
