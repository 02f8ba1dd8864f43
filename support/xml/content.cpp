// Content of open elements: from the stack of a parse into the records.
#include "support/xml/content.h"

#include <algorithm>

namespace support::xml {

void OpenElements::addComment(const ClearSection& comment) {
    keepComment_();
    const int32_t count = m_innermost->itemCount();
    if (count != 0 && orderKind(m_innermost->entryAt(count - 1)) == ItemKind::text) {
        m_isCommentOpen = true;
        m_comment = comment;
    } else {
        addClear(comment);
    }
}

void OpenElements::layOutChildren_(Record& closed) {
    const auto count = static_cast<size_t>(closed.childCount);
    closed.children = closed.document->allocate<Record*>(arrayRoom(closed.childCount));
    m_childCount -= count;
    std::copy_n(m_children.data() + m_childCount, count, closed.children);
}

}  // namespace support::xml
