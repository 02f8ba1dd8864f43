// Content of open elements: from the stack of a parse into the arrays of the records.
#include "support/xml/content.h"

namespace support::xml {

namespace {

template <typename Value>
Value* allocateArray(Document& document, int32_t count) {
    return count == 0 ? nullptr : document.allocate<Value>(arrayRoom(count));
}

void countItems(Record& record, const Item* items, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        switch (items[i].kind) {
            case ItemKind::child:
                ++record.childCount;
                break;
            case ItemKind::text:
                ++record.textCount;
                break;
            case ItemKind::clear:
                ++record.clearCount;
                break;
        }
    }
}

/// The usual content, one text, without the counting.
void layOutText(Record& record, const Item& item) {
    Document& document = *record.document;
    record.textCount = 1;
    record.texts = document.allocate<Text>(1);
    record.texts[0] = {item.bytes, item.length, item.escapedLength};
    record.order = document.allocate<int32_t>(1);
    record.order[0] = orderEntry(0, ItemKind::text);
}

void layOut(Record& record, const Item* items, size_t count) {
    Document& document = *record.document;
    if (count == 1 && items->kind == ItemKind::text) {
        layOutText(record, *items);
        return;
    }
    countItems(record, items, count);
    record.texts = allocateArray<Text>(document, record.textCount);
    record.children = allocateArray<Record*>(document, record.childCount);
    record.clears = allocateArray<ClearSection>(document, record.clearCount);
    record.order = allocateArray<int32_t>(document, record.itemCount());
    int32_t children = 0;
    int32_t texts = 0;
    int32_t clears = 0;
    for (size_t i = 0; i < count; ++i) {
        const Item& item = items[i];
        int32_t index = 0;
        switch (item.kind) {
            case ItemKind::child:
                index = children++;
                record.children[index] = item.child;
                break;
            case ItemKind::text:
                index = texts++;
                record.texts[index] = {item.bytes, item.length, item.escapedLength};
                break;
            case ItemKind::clear:
                index = clears++;
                record.clears[index] = {item.bytes, item.clearTag->open, item.clearTag->close,
                                        item.length};
                break;
        }
        record.order[i] = orderEntry(index, item.kind);
    }
}

}  // namespace

void OpenElements::close() {
    Record& closed = *m_innermost;
    layOut(closed, m_items.data() + m_base, m_count - m_base);
    m_count = m_base;
    if (closed.parent != nullptr) {
        // The closed element is its parent's last item so far.
        m_base -= 1 + static_cast<size_t>(closed.place);
    }
    m_innermost = closed.parent;
}

}  // namespace support::xml
