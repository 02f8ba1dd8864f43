// The content of the elements that are open during a parse, collected on one stack until each is
// closed and its arrays can be laid out at once. Internal to the XML library.
#pragma once

#include <vector>

#include "support/xmlRecord.h"
#include "support/xmlTokens.h"

namespace support::xml {

/// One child, text piece or clear section of an open element.
struct Item {
    ItemKind kind;
    const ClearTag* clearTag;  // of a clear section
    Record* child;
    char* bytes;  // text, or content of a clear section
    uint32_t length;
    uint32_t escapedLength;  // of a text
};

/// The open elements of one parse, from the unnamed root to the innermost.
class OpenElements {
  public:
    /// `root` stays the outermost element.
    explicit OpenElements(Record& root);

    Record& innermost() const { return *m_innermost; }
    /// Opens `child` inside the innermost element; its parent is set already.
    void open(Record& child);
    /// Adds `child`, which has no content, to the innermost element.
    void addClosed(Record& child);
    void addText(char* bytes, uint32_t length, uint32_t escapedLength);
    void addClear(const ClearTag& tag, char* content, uint32_t length);
    /// When the innermost element's last two items are a text and a comment, drops the comment and
    /// returns the text, for more to be appended to it; otherwise returns null.
    Item* textBeforeComment();
    /// Closes the innermost element: its content goes from the stack into its record.
    void close();

  private:
    std::vector<Item> m_items;
    size_t m_base = 0;  // the innermost element's first item
    Record* m_innermost;
};

}  // namespace support::xml
