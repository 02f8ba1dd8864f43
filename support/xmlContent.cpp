// Content of open elements: from the stack of a parse into the arrays of the records.
#include "support/xmlContent.h"

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

OpenElements::OpenElements(Record& root) : m_innermost(&root) {
    constexpr size_t usualItems = 64;
    m_items.reserve(usualItems);
}

void OpenElements::open(Record& child) {
    addClosed(child);
    m_innermost = &child;
    m_base = m_items.size();
}

void OpenElements::addClosed(Record& child) {
    child.place = static_cast<int32_t>(m_items.size() - m_base);
    m_items.push_back({ItemKind::child, nullptr, &child, nullptr, 0, 0});
}

void OpenElements::addText(char* bytes, uint32_t length, uint32_t escapedLength) {
    m_items.push_back({ItemKind::text, nullptr, nullptr, bytes, length, escapedLength});
}

void OpenElements::addClear(const ClearTag& tag, char* content, uint32_t length) {
    m_items.push_back({ItemKind::clear, &tag, nullptr, content, length, 0});
}

Item* OpenElements::textBeforeComment() {
    const size_t count = m_items.size();
    if (count - m_base < 2 || m_items[count - 1].kind != ItemKind::clear ||
        m_items[count - 1].clearTag != &commentTag || m_items[count - 2].kind != ItemKind::text) {
        return nullptr;
    }
    m_items.pop_back();
    return &m_items.back();
}

void OpenElements::close() {
    Record& closed = *m_innermost;
    layOut(closed, m_items.data() + m_base, m_items.size() - m_base);
    m_items.resize(m_base);
    if (closed.parent != nullptr) {
        // The closed element is its parent's last item so far.
        m_base -= 1 + static_cast<size_t>(closed.place);
    }
    m_innermost = closed.parent;
}

}  // namespace support::xml
