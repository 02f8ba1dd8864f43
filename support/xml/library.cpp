// What belongs to the XML library as a whole: its settings, messages and version.
#include <array>

#include "support/xmlParser.h"

namespace {

XMLSettings currentSettings;

// By error code.
constexpr std::array<const char*, 21> kMessages = {
    "No error",
    "Warning: Unmatched end tag",
    "Warning: No XML tag found",
    "Error: No XML data",
    "Error: Missing start tag name",
    "Error: Missing end tag name",
    "Error: Unmatched end tag",
    "Error: Unmatched clear tag end",
    "Error: Unexpected token found",
    "Error: No elements found",
    "Error: File not found",
    "Error: First Tag not found",
    "Error: Unknown character entity",
    "Error: Character code above 255 is forbidden in MultiByte char mode.",
    "Error: unable to convert between WideChar and MultiByte chars",
    "Error: unable to open file for writing",
    "Error: cannot write into file",
    "Warning: Base64-string length is not a multiple of 4",
    "Error: Base64-string contains an illegal character",
    "Warning: Base64-string is truncated",
    "Error: Base64 decode output buffer is too small",
};

}  // namespace

void XMLNode::setSettings(const XMLSettings& settings) {
    currentSettings = settings;
}

const XMLSettings& XMLNode::settings() {
    return currentSettings;
}

const char* XMLNode::errorText(XMLError error) {
    const auto code = static_cast<size_t>(error);  // a negative code is out of range, too
    return code < kMessages.size() ? kMessages[code] : "Unknown";
}

const char* XMLNode::versionString() {
    return "v2.40";
}
