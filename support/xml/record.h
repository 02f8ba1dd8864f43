// The records behind XMLNode and the memory they live in: one document owns all records, arrays
// and strings of one tree. Internal to the XML library.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <new>

#include "support/xmlParser.h"

namespace support::xml {

/// Bytes behind every string of a document that may be read with it: strings are copied and
/// compared in steps of some bytes, which takes less time than to stop just at their end.
inline constexpr size_t kSlack = 16;

/// The memory of one tree, handed out piece by piece and given back as a whole. It counts the
/// handles on the nodes of its tree; nothing outside the tree shares that count.
class Document {
  public:
    /// A document with room for `room` bytes, and no handle yet. Throws std::bad_alloc.
    static Document* create(size_t room);
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    void retain() noexcept { ++m_handles; }
    /// Frees the document with its last handle.
    void release() noexcept {
        if (--m_handles == 0) {
            destroy_();
        }
    }

    /// Memory for `count` values, aligned for any pointer. Throws std::bad_alloc.
    template <typename Value>
    Value* allocate(size_t count) {
        static_assert(alignof(Value) <= kAlignment);
        // NOLINTNEXTLINE(bugprone-sizeof-expression): a value may well be a pointer
        const size_t size = (count * sizeof(Value) + kAlignment - 1) & ~(kAlignment - 1);
        if (size > static_cast<size_t>(m_end - m_free)) {
            addBlock_(size);
        }
        char* const memory = m_free;
        m_free += size;
        return reinterpret_cast<Value*>(memory);
    }
    /// A copy of `length` bytes with a zero byte behind them.
    char* copy(const char* bytes, size_t length);

  private:
    struct Block {
        Block* next;
    };
    static constexpr size_t kAlignment = alignof(void*);

    Document() = default;
    ~Document() = default;
    void addBlock_(size_t atLeast);
    void destroy_() noexcept;

    int64_t m_handles = 0;
    char* m_free = nullptr;
    char* m_end = nullptr;
    Block* m_blocks = nullptr;  // all but the one that holds the document itself
    size_t m_total = 0;
};

/// A text piece, decoded.
struct Text {
    const char* bytes;
    uint32_t length;
    uint32_t escapedLength;  // bytes once the markup characters are escaped
};

/// The kinds of content that an order entry tells apart.
enum class ItemKind : uint8_t { child = 0, text = 2, clear = 3 };

/// One node. An array of n elements has room for the next power of two, so that no capacity needs
/// to be kept.
struct Record {
    /// A node without content. (Without this constructor GCC would clear the record by one slow
    /// instruction, "rep stos", a fifth of the time of a parse.)
    Record(Document& owner, Record* above, const char* bytes, uint32_t length, bool declares)
        : name(bytes),
          nameLength(length),
          isDeclaration(declares),
          parent(above),
          document(&owner) {}

    const char* name;  // null: an unnamed node
    uint32_t nameLength;
    int32_t childCount = 0;
    int32_t textCount = 0;
    int32_t clearCount = 0;
    int32_t attributeCount = 0;
    bool isDeclaration;
    Record* parent;
    Record** children = nullptr;
    Text* texts = nullptr;
    ClearSection* clears = nullptr;
    NodeAttribute* attributes = nullptr;
    int32_t* order = nullptr;  // index * 4 + ItemKind of each item; null while all are of one kind
    int32_t place = 0;         // of this record in its parent's order
    Document* document;

    /// Children, texts and clear sections.
    int32_t itemCount() const { return childCount + textCount + clearCount; }
    /// The order entry of the item at `at`.
    int32_t entryAt(int32_t at) const;
};

inline ItemKind orderKind(int32_t entry) {
    return static_cast<ItemKind>(entry & 3);
}
inline int32_t orderIndex(int32_t entry) {
    return entry >> 2;
}
inline int32_t orderEntry(int32_t index, ItemKind kind) {
    return index * 4 + static_cast<int32_t>(kind);
}
inline int32_t Record::entryAt(int32_t at) const {
    if (order != nullptr) {
        return order[at];
    }
    return orderEntry(at, childCount != 0  ? ItemKind::child
                          : textCount != 0 ? ItemKind::text
                                           : ItemKind::clear);
}

/// Elements that an array of `count` elements has room for.
inline size_t arrayRoom(int32_t count) {
    return std::bit_ceil(static_cast<uint32_t>(count));
}

/// Makes room for one element behind the `count` of `array`. When std::bad_alloc is thrown the
/// array is as it was.
template <typename Value>
void makeRoom(Document& document, Value*& array, int32_t count) {
    if (count == 0 || arrayRoom(count) == static_cast<size_t>(count)) {
        Value* const larger = document.allocate<Value>(arrayRoom(count + 1));
        std::copy(array, array + count, larger);
        array = larger;
    }
}

/// Gives the record an order, or room for one more entry in the one that it has.
void growOrder(Record& record);

/// Makes room for the order's entry of one more item of the kind that the record has `count` items
/// of. When std::bad_alloc is thrown the content is as it was.
inline void makeOrderRoom(Record& record, int32_t count) {
    if (record.order != nullptr || count != record.itemCount()) {
        growOrder(record);
    }
}

/// Enters one more item of `kind` at the end of the order, where room has been made.
inline void enterLast(Record& record, int32_t& count, ItemKind kind) {
    if (record.order != nullptr) {
        record.order[record.itemCount()] = orderEntry(count, kind);
    }
    ++count;
}

/// Adds a text or clear section behind all other content. A text comes by value, in registers: to
/// read one back whole whose members have just been written one by one makes the processor wait.
template <typename Value>
void append(Record& record, Value*& array, int32_t& count, ItemKind kind, Value value) {
    makeOrderRoom(record, count);
    makeRoom(*record.document, array, count);
    array[count] = value;
    enterLast(record, count, kind);
}

/// Puts `value` at `index` of `array`, which has `count` elements and room for one more.
template <typename Value>
void insertInto(Value* array, int32_t count, int32_t index, const Value& value) {
    std::copy_backward(array + index, array + count, array + count + 1);
    array[index] = value;
}

/// A new record in `document`, in nobody's list of children yet. `name` is not copied.
inline Record& newRecord(Document& document, Record* parent, const char* name, uint32_t nameLength,
                         bool isDeclaration) {
    return *new (document.allocate<Record>(1))
        Record(document, parent, name, nameLength, isDeclaration);
}

/// Whether the two names are the same but for the case of ASCII letters.
bool sameName(const char* left, size_t leftLength, const char* right, size_t rightLength);

}  // namespace support::xml
