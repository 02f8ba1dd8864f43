// What a parse in progress knows. Internal to the XML library.
#pragma once

#include <vector>

#include "support/xml/content.h"
#include "support/xml/tokens.h"

namespace support::xml {

/// One parse: the document's own copy of the text, what is open, and how it ended.
struct ParseContext {
    ParseContext(char* text, Record& top) : tokens(text), root(top), open(top) {}

    const XMLSettings settings = XMLNode::settings();  // the same for the whole text
    Tokeniser tokens;
    Record& root;  // unnamed, around the whole document
    OpenElements open;
    std::vector<NodeAttribute> attributes;  // of the tag being read
    XMLError error = XMLError::none;
    const char* errorAt = nullptr;  // in the copy of the text
};

/// Fills the root element of `pXML` from its text. The outcome is left in the context: `errorAt`
/// is then the place in the text. Elements left open are closed with a warning; after an error the
/// content of open elements is lost.
void ParseXMLElement(ParseContext* pXML);

/// Reads one piece of text and the markup behind it. False at the end of the text and on an error,
/// which is left in the context.
bool readNext(ParseContext& context);

/// Notes a warning, unless there is one already: the first one is reported.
void warn(ParseContext& context, XMLError warning, const char* at);

/// Sets the outcome of an operation that has no place in a text, when `results` is not null.
void setResults(XMLResults* results, XMLError error);

}  // namespace support::xml
