// The content of the elements that are open during a parse, collected on one stack until each is
// closed and its arrays can be laid out at once. Internal to the XML library.
#pragma once

#include <vector>

#include "support/xml/record.h"
#include "support/xml/tokens.h"

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
    explicit OpenElements(Record& root) : m_items(kUsualItems), m_innermost(&root) {}

    Record& innermost() const { return *m_innermost; }
    /// Opens `child` inside the innermost element; its parent is set already.
    void open(Record& child) {
        addClosed(child);
        m_innermost = &child;
        m_base = m_count;
    }
    /// Adds `child`, which has no content, to the innermost element.
    void addClosed(Record& child) {
        child.place = static_cast<int32_t>(m_count - m_base);
        push_() = {ItemKind::child, nullptr, &child, nullptr, 0, 0};
    }
    void addText(char* bytes, uint32_t length, uint32_t escapedLength) {
        push_() = {ItemKind::text, nullptr, nullptr, bytes, length, escapedLength};
    }
    void addClear(const ClearTag& tag, char* content, uint32_t length) {
        push_() = {ItemKind::clear, &tag, nullptr, content, length, 0};
    }
    /// When the innermost element's last two items are a text and a comment, drops the comment and
    /// returns the text, for more to be appended to it; otherwise returns null.
    Item* textBeforeComment() {
        if (m_count - m_base < 2 || m_items[m_count - 1].clearTag != &commentTag ||
            m_items[m_count - 2].kind != ItemKind::text) {
            return nullptr;
        }
        --m_count;
        return &m_items[m_count - 1];
    }
    /// Closes the innermost element: its content goes from the stack into its record.
    void close();

  private:
    static constexpr size_t kUsualItems = 64;

    Item& push_() {
        if (m_count == m_items.size()) {
            m_items.resize(2 * m_count);
        }
        return m_items[m_count++];
    }

    std::vector<Item> m_items;  // more than are in use
    size_t m_count = 0;
    size_t m_base = 0;  // the innermost element's first item
    Record* m_innermost;
};

}  // namespace support::xml
