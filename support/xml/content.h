// The elements that are open during a parse. Their children are collected on one stack until each
// is closed and the array of its children can be laid out at once. Internal to the XML library.
#pragma once

#include <vector>

#include "support/xml/record.h"

namespace support::xml {

/// The open elements of one parse, from the unnamed root to the innermost. Texts, clear sections
/// and names are cut out of the text that is parsed.
class OpenElements {
  public:
    /// `root` stays the outermost element.
    explicit OpenElements(Record& root) : m_children(kUsualChildren), m_innermost(&root) {}

    Record& innermost() const { return *m_innermost; }
    /// Adds `child` to the innermost element, which is its parent.
    void addChild(Record& child) {
        Record& parent = *m_innermost;
        keepComment_();
        child.place = parent.itemCount();
        if (m_childCount == m_children.size()) {
            m_children.resize(2 * m_childCount);
        }
        makeOrderRoom(parent, parent.childCount);
        m_children[m_childCount++] = &child;
        enterLast(parent, parent.childCount, ItemKind::child);
    }
    /// Opens the child that was added last: it is the innermost element now.
    void open(Record& child) { m_innermost = &child; }
    void addText(Text text) {
        keepComment_();
        append(*m_innermost, m_innermost->texts, m_innermost->textCount, ItemKind::text, text);
    }
    void addClear(const ClearSection& clear) {
        keepComment_();
        append(*m_innermost, m_innermost->clears, m_innermost->clearCount, ItemKind::clear, clear);
    }
    /// Adds a comment that is dropped when the innermost element's last item is a text and the next
    /// one is a text, too.
    void addComment(const ClearSection& comment);
    /// When such a comment stands behind a text, drops the comment and returns the text, for more
    /// to be appended to it; otherwise returns null.
    Text* textBeforeComment() {
        if (!m_isCommentOpen) {
            return nullptr;
        }
        m_isCommentOpen = false;
        return m_innermost->texts + m_innermost->textCount - 1;
    }
    /// Closes the innermost element.
    void close() {
        Record& closed = *m_innermost;
        keepComment_();
        if (closed.childCount != 0) {
            layOutChildren_(closed);
        }
        m_innermost = closed.parent;
    }

  private:
    static constexpr size_t kUsualChildren = 64;

    void keepComment_() {
        if (m_isCommentOpen) {
            m_isCommentOpen = false;
            addClear(m_comment);
        }
    }
    void layOutChildren_(Record& closed);

    std::vector<Record*> m_children;  // more than are in use
    size_t m_childCount = 0;
    Record* m_innermost;
    bool m_isCommentOpen = false;
    ClearSection m_comment{};  // may yet be dropped
};

}  // namespace support::xml
