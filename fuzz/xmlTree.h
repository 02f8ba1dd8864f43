// Comparing XML trees, for the targets that parse what was rendered.
#pragma once

#include <string>

#include "support/xmlParser.h"

namespace fuzz {

/// The node as text, malloc'ed by the library and freed here; empty for the empty node.
std::string rendered(const XMLNode& node, int format);

/// Whether parsing what is rendered can give the tree again. A lenient parse lets names through
/// that mean something else once they are written, such as one that begins with a quote; and a
/// text of white space alone, which a character reference can make, is no text when read again.
bool isWritable(const XMLNode& node);

/// What is in a tree, as one text: names, attributes, texts and clear sections. Texts count
/// without the white space around them, which no rendering keeps, and the place of a text or clear
/// section among its siblings does not count: their order shows in the rendering.
std::string contentOf(const XMLNode& node);

/// The text without any white space: what two layouts of the same tree have in common.
std::string withoutSpace(const std::string& text);

}  // namespace fuzz
