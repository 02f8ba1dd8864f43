// Handles on nodes: sharing them, building with them, looking up through them.
#include <algorithm>
#include <cstring>
#include <new>

#include "support/xml/entities.h"
#include "support/xml/record.h"

using support::xml::Document;
using support::xml::ItemKind;
using support::xml::Record;
using support::xml::Text;

namespace {

Text copyText(Document& document, const char* text) {
    const size_t length = strlen(text);
    return {document.copy(text, length), static_cast<uint32_t>(length),
            static_cast<uint32_t>(support::xml::escapedLength(text, length))};
}

bool isNamed(const Record& record, const char* name, size_t length) {
    return support::xml::sameName(record.name, record.nameLength, name, length);
}

/// The place in the order of `record` that `position` stands for.
int32_t placeOf(const Record& record, int position) {
    return position < 0 || position > record.itemCount() ? record.itemCount() : position;
}

/// Number of items of `kind` in front of `place`.
int32_t countBefore(const Record& record, int32_t place, ItemKind kind) {
    int32_t count = 0;
    for (int32_t i = 0; i < place; ++i) {
        count += support::xml::orderKind(record.entryAt(i)) == kind ? 1 : 0;
    }
    return count;
}

/// Numbers the entries of the order from `place` on anew: each kind counts for itself.
void renumber(Record& record, int32_t place) {
    if (record.order == nullptr) {
        for (int32_t i = place; i < record.childCount; ++i) {
            record.children[i]->place = i;
        }
        return;
    }
    int32_t children = countBefore(record, place, ItemKind::child);
    int32_t texts = countBefore(record, place, ItemKind::text);
    int32_t clears = countBefore(record, place, ItemKind::clear);
    for (int32_t i = place; i < record.itemCount(); ++i) {
        const ItemKind kind = support::xml::orderKind(record.order[i]);
        int32_t& counter = kind == ItemKind::child  ? children
                           : kind == ItemKind::text ? texts
                                                    : clears;
        record.order[i] = support::xml::orderEntry(counter, kind);
        if (kind == ItemKind::child) {
            record.children[counter]->place = i;
        }
        ++counter;
    }
}

/// Inserts `value` into `array`, which has the record's `count` values of `kind`, so that it stands
/// at `position` of the document order. Returns its index.
template <typename Value>
int32_t insertItem(Record& record, Value*& array, int32_t& count, ItemKind kind, int position,
                   const Value& value) {
    const int32_t place = placeOf(record, position);
    const bool isLast = place == record.itemCount();
    const int32_t index = isLast ? count : countBefore(record, place, kind);
    support::xml::makeOrderRoom(record, count);
    support::xml::makeRoom(*record.document, array, count);
    // From here on nothing can fail.
    if (record.order != nullptr) {
        support::xml::insertInto(record.order, record.itemCount(), place,
                                 support::xml::orderEntry(index, kind));
    }
    support::xml::insertInto(array, count, index, value);
    ++count;
    if (!isLast) {
        renumber(record, place);
    }
    return index;
}

}  // namespace

XMLNode::XMLNode(Record* record) noexcept : m_record(record) {
    if (m_record != nullptr) {
        m_record->document->retain();
    }
}

XMLNode::XMLNode(const XMLNode& other) noexcept : XMLNode(other.m_record) {}

XMLNode::XMLNode(XMLNode&& other) noexcept : m_record(other.m_record) {
    other.m_record = nullptr;
}

XMLNode& XMLNode::operator=(const XMLNode& other) noexcept {
    if (this != &other) {
        *this = XMLNode(other);
    }
    return *this;
}

XMLNode& XMLNode::operator=(XMLNode&& other) noexcept {
    // The old node goes when `other` does, at the latest.
    Record* const old = m_record;
    m_record = other.m_record;
    other.m_record = old;
    return *this;
}

XMLNode::~XMLNode() {
    if (m_record != nullptr) {
        m_record->document->release();
    }
}

bool XMLNode::isNamed_(const char* name) const {
    return m_record != nullptr && m_record->name != nullptr &&
           support::xml::sameName(m_record->name, m_record->nameLength, name, strlen(name));
}

XMLNode XMLNode::createTopNode(const char* name, bool isDeclaration) try {
    constexpr size_t kRoomForAnAnswer = 2048;
    Document& document = *Document::create(kRoomForAnAnswer);
    XMLNode top(&support::xml::newRecord(document, nullptr, nullptr, 0, isDeclaration));
    if (name != nullptr) {
        const size_t length = strlen(name);
        top.m_record->name = document.copy(name, length);
        top.m_record->nameLength = static_cast<uint32_t>(length);
    }
    return top;
} catch (const std::bad_alloc&) {
    return {};
}

XMLNode XMLNode::addChild(const char* name, bool isDeclaration, int position) try {
    if (m_record == nullptr || name == nullptr) {
        return {};
    }
    Document& document = *m_record->document;
    const size_t length = strlen(name);
    Record* const child = &support::xml::newRecord(document, m_record, document.copy(name, length),
                                                   static_cast<uint32_t>(length), isDeclaration);
    child->place = placeOf(*m_record, position);
    insertItem(*m_record, m_record->children, m_record->childCount, ItemKind::child, position,
               child);
    return XMLNode(child);
} catch (const std::bad_alloc&) {
    return {};
}

const NodeAttribute* XMLNode::addAttribute(const char* name, const char* value) try {
    if (m_record == nullptr || name == nullptr) {
        return nullptr;
    }
    Document& document = *m_record->document;
    const size_t length = strlen(name);
    const Text text = value == nullptr ? Text{nullptr, 0, 0} : copyText(document, value);
    const NodeAttribute attribute{document.copy(name, length), text.bytes,
                                  static_cast<uint32_t>(length), text.length, text.escapedLength};
    support::xml::makeRoom(document, m_record->attributes, m_record->attributeCount);
    NodeAttribute* const added = m_record->attributes + m_record->attributeCount++;
    *added = attribute;
    return added;
} catch (const std::bad_alloc&) {
    return nullptr;
}

const char* XMLNode::addText(const char* text, int position) try {
    if (m_record == nullptr || text == nullptr || *text == '\0') {
        return nullptr;
    }
    const Text copy = copyText(*m_record->document, text);
    insertItem(*m_record, m_record->texts, m_record->textCount, ItemKind::text, position, copy);
    return copy.bytes;
} catch (const std::bad_alloc&) {
    return nullptr;
}

XMLNode XMLNode::childNode(const char* name, int* index) const {
    if (m_record == nullptr || name == nullptr) {
        return {};
    }
    const size_t length = strlen(name);
    for (int i = index == nullptr ? 0 : std::max(*index, 0); i < m_record->childCount; ++i) {
        if (isNamed(*m_record->children[i], name, length)) {
            if (index != nullptr) {
                *index = i + 1;
            }
            return XMLNode(m_record->children[i]);
        }
    }
    return {};
}

XMLNode XMLNode::childNode(const char* name, int number) const {
    if (number >= 0) {
        int index = 0;
        XMLNode child = childNode(name, &index);
        for (; number > 0 && !child.isEmpty(); --number) {
            child = childNode(name, &index);
        }
        return child;
    }
    if (m_record == nullptr || name == nullptr) {
        return {};
    }
    const size_t length = strlen(name);
    for (int i = m_record->childCount; i > 0; --i) {
        if (isNamed(*m_record->children[i - 1], name, length)) {
            return XMLNode(m_record->children[i - 1]);
        }
    }
    return {};
}

XMLNode XMLNode::childNode(int index) const {
    if (index < 0 || index >= childCount()) {
        return {};
    }
    return XMLNode(m_record->children[index]);
}

int XMLNode::childCount(const char* name) const {
    if (m_record == nullptr) {
        return 0;
    }
    if (name == nullptr) {
        return m_record->childCount;
    }
    const size_t length = strlen(name);
    return static_cast<int>(std::count_if(
        m_record->children, m_record->children + m_record->childCount,
        [name, length](const Record* child) { return isNamed(*child, name, length); }));
}

int XMLNode::textCount() const {
    return m_record == nullptr ? 0 : m_record->textCount;
}

int XMLNode::attributeCount() const {
    return m_record == nullptr ? 0 : m_record->attributeCount;
}

int XMLNode::clearCount() const {
    return m_record == nullptr ? 0 : m_record->clearCount;
}

const char* XMLNode::name() const {
    return m_record == nullptr ? nullptr : m_record->name;
}

const char* XMLNode::text(int index) const {
    return index < 0 || index >= textCount() ? nullptr : m_record->texts[index].bytes;
}

const NodeAttribute* XMLNode::attribute(int index) const {
    return index < 0 || index >= attributeCount() ? nullptr : m_record->attributes + index;
}

const ClearSection* XMLNode::clearSection(int index) const {
    return index < 0 || index >= clearCount() ? nullptr : m_record->clears + index;
}

bool XMLNode::isDeclaration() const {
    return m_record != nullptr && m_record->isDeclaration;
}
