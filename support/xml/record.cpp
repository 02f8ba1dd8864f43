// Memory of the XML trees: blocks that grow with the tree, and the records laid into them.
#include "support/xml/record.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "support/xml/characters.h"

namespace support::xml {

namespace {

constexpr size_t kLargestBlock = size_t{4} << 20;

}  // namespace

Document* Document::create(size_t room) {
    const size_t size = sizeof(Document) + room;
    void* const memory = operator new(size + kSlack);
    auto* const document = new (memory) Document();
    document->m_free = static_cast<char*>(memory) + sizeof(Document);
    document->m_end = static_cast<char*>(memory) + size;
    document->m_total = size;
    return document;
}

void Document::addBlock_(size_t atLeast) {
    // As much again as there is, so that the number of blocks stays small in a tree of any size.
    const size_t size = sizeof(Block) + std::max(atLeast, std::min(m_total, kLargestBlock));
    auto* const block = new (operator new(size + kSlack)) Block{m_blocks};
    m_blocks = block;
    m_free = reinterpret_cast<char*>(block + 1);
    m_end = reinterpret_cast<char*>(block) + size;
    m_total += size;
}

void Document::destroy_() noexcept {
    for (Block* block = m_blocks; block != nullptr;) {
        Block* const next = block->next;
        operator delete(block);
        block = next;
    }
    operator delete(this);
}

char* Document::copy(const char* bytes, size_t length) {
    char* const text = allocate<char>(length + 1);
    memcpy(text, bytes, length);
    text[length] = '\0';
    return text;
}

void growOrder(Record& record) {
    const int32_t count = record.itemCount();
    if (record.order != nullptr) {
        makeRoom(*record.document, record.order, count);
        return;
    }
    auto* const order = record.document->allocate<int32_t>(arrayRoom(count + 1));
    for (int32_t place = 0; place < count; ++place) {
        order[place] = record.entryAt(place);
    }
    record.order = order;
}

bool sameName(const char* left, size_t leftLength, const char* right, size_t rightLength) {
    if (leftLength != rightLength) {
        return false;
    }
    if (memcmp(left, right, leftLength) == 0) {
        return true;
    }
    for (size_t i = 0; i < leftLength; ++i) {
        if (lowerCase(left[i]) != lowerCase(right[i])) {
            return false;
        }
    }
    return true;
}

}  // namespace support::xml
