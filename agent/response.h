// The envelope that every answer shares, and rendering it.
#pragma once

#include <string>

#include "support/xmlParser.h"

namespace response {

inline constexpr const char* kRootElement = "ZelvDocRoot";
inline constexpr const char* kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

/// Codes of the `errRtn` element.
enum Code : int {
    kSuccess = 0,
    kNoPermission = 1,
    kLoginRequired = 2,
    kParameterRequired = 3,
    kVexaNotFound = 4,
    kInvalidCommand = 5
};

/// The text that clients know a code by; "fail" for a code outside the list.
const char* codeText(int code) noexcept;

/// A new document: the root element with its version attribute.
XMLNode newDocument();

/// Adds `<name>text</name>`.
void addElement(XMLNode& parent, const char* name, const std::string& text);

/// The same, but only when there is a text.
void addKnown(XMLNode& parent, const char* name, const std::string& text);

/// The indented text of a document, without declaration.
std::string render(const XMLNode& document);

/// The document that announces a payload of `length` bytes.
std::string sizeDocument(size_t length);

}  // namespace response
