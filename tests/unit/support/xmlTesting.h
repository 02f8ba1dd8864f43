// What the tests of the XML library share.
#pragma once

#include <cstdlib>
#include <memory>
#include <string>

#include "support/xmlParser.h"

/// The node as text; "(none)" when there is no text.
inline std::string written(const XMLNode& node, int format = 0) {
    const std::unique_ptr<char, decltype(&free)> text(node.createString(format), &free);
    return text == nullptr ? "(none)" : text.get();
}

/// Puts the library's settings back at the end of a test.
struct SettingsGuard {
    explicit SettingsGuard(const XMLSettings& settings = {}) { XMLNode::setSettings(settings); }
    ~SettingsGuard() { XMLNode::setSettings(XMLSettings{}); }
};
