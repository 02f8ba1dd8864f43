// Writing: the length of the text is measured in a first walk over the tree, the text is written in
// a second one, into memory of just that size.
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "support/xml/entities.h"
#include "support/xml/record.h"

namespace support::xml {

namespace {

/// Counts what would be written.
class Measure {
  public:
    void put(char /*character*/) { ++m_size; }
    template <size_t kSize>
    void putLiteral(const char (&/*literal*/)[kSize]) {
        m_size += kSize - 1;
    }
    void put(const char* /*bytes*/, size_t length) { m_size += length; }
    void putString(const char* string) { m_size += strlen(string); }
    void putTabs(size_t count) { m_size += count; }
    void putEscaped(const char* /*text*/, size_t /*length*/, size_t escaped) { m_size += escaped; }
    size_t size() const { return m_size; }

  private:
    size_t m_size = 0;
};

/// Writes into memory that has been measured, and up to `kSlack` bytes behind each piece, where the
/// next one will stand or the memory goes on.
class Output {
  public:
    explicit Output(char* memory) : m_position(memory) {}
    void put(char character) { *m_position++ = character; }
    template <size_t kSize>
    void putLiteral(const char (&literal)[kSize]) {
        memcpy(m_position, literal, kSize - 1);
        m_position += kSize - 1;
    }
    /// `bytes` lie in a document.
    void put(const char* bytes, size_t length) {
        char* const end = m_position + length;
        do {
            memcpy(m_position, bytes, kSlack);
            bytes += kSlack;
            m_position += kSlack;
        } while (m_position < end);
        m_position = end;
    }
    void putString(const char* string) { m_position = stpcpy(m_position, string); }
    void putTabs(size_t count) {
        char* const end = m_position + count;
        do {
            memset(m_position, '\t', kSlack);
            m_position += kSlack;
        } while (m_position < end);
        m_position = end;
    }
    void putEscaped(const char* text, size_t length, size_t escaped) {
        if (escaped == length) {
            put(text, length);
        } else {
            m_position = writeEscaped(m_position, text, length);
        }
    }

  private:
    char* m_position;
};

/// Writes a node and all below it to a sink: `Measure` or `Output`.
template <typename Sink>
class Writer {
  public:
    Writer(Sink sink, bool isIndented) : m_sink(sink), m_isIndented(isIndented) {}

    /// Goes down and up the tree by the records' own links, so that a tree of any depth needs no
    /// more memory than a flat one. Returns the sink, behind what was written. (All is inlined, so
    /// that the sink's position stays in a register.)
    [[gnu::flatten]] Sink write(const Record& top) {
        const Record* record = &top;
        int32_t place = 0;
        open_(top);
        for (;;) {
            if (!record->isDeclaration && place < record->itemCount()) {
                const Record* const child = writeItem_(*record, record->entryAt(place++));
                if (child != nullptr) {
                    m_depth += depthOf_(*record);
                    record = child;
                    place = 0;
                    open_(*record);
                }
                continue;
            }
            close_(*record);
            if (record == &top) {
                return m_sink;
            }
            place = record->place + 1;
            record = record->parent;
            m_depth -= depthOf_(*record);
        }
    }

  private:
    // An unnamed node is not seen: its content stands where it would.
    static size_t depthOf_(const Record& record) { return record.name == nullptr ? 0 : 1; }

    void indent_(size_t depth) {
        if (m_isIndented) {
            m_sink.putTabs(depth);
        }
    }
    void endLine_() {
        if (m_isIndented) {
            m_sink.put('\n');
        }
    }

    void open_(const Record& record) {
        if (record.name == nullptr) {
            return;
        }
        indent_(m_depth);
        m_sink.put('<');
        if (record.isDeclaration) {
            m_sink.put('?');
        }
        m_sink.put(record.name, record.nameLength);
        for (int32_t i = 0; i < record.attributeCount; ++i) {
            writeAttribute_(record.attributes[i]);
        }
        if (record.isDeclaration) {
            m_sink.putLiteral("?>");
            endLine_();
        } else if (record.itemCount() == 0) {
            m_sink.putLiteral("/>");
            endLine_();
        } else {
            m_sink.put('>');
            endLine_();
        }
    }

    void close_(const Record& record) {
        if (record.name == nullptr || record.isDeclaration || record.itemCount() == 0) {
            return;
        }
        indent_(m_depth);
        m_sink.putLiteral("</");
        m_sink.put(record.name, record.nameLength);
        m_sink.put('>');
        endLine_();
    }

    void writeAttribute_(const NodeAttribute& attribute) {
        m_sink.put(' ');
        m_sink.put(attribute.name, attribute.nameLength);
        if (attribute.value != nullptr) {
            m_sink.putLiteral("=\"");
            m_sink.putEscaped(attribute.value, attribute.valueLength, attribute.escapedLength);
            m_sink.put('"');
        }
    }

    /// Writes one item of the record's content; a child is returned, to be written by the caller.
    const Record* writeItem_(const Record& record, int32_t entry) {
        const int32_t index = orderIndex(entry);
        switch (orderKind(entry)) {
            case ItemKind::child:
                return record.children[index];
            case ItemKind::text:
                writeText_(record.texts[index], m_depth + depthOf_(record));
                break;
            case ItemKind::clear:
                writeClear_(record.clears[index]);
                break;
        }
        return nullptr;
    }

    void writeText_(const Text& text, size_t depth) {
        indent_(depth);
        m_sink.putEscaped(text.bytes, text.length, text.escapedLength);
        endLine_();
    }

    // What was kept as it was written gets no layout either: in a PRE section it would be seen.
    void writeClear_(const ClearSection& clear) {
        m_sink.putString(clear.openTag);
        m_sink.put(clear.content, clear.length);
        m_sink.putString(clear.closeTag);
    }

    Sink m_sink;
    const bool m_isIndented;
    size_t m_depth = 0;
};

}  // namespace

}  // namespace support::xml

char* XMLNode::createString(int format, int* size) const {
    using namespace support::xml;
    if (size != nullptr) {
        *size = 0;
    }
    if (m_record == nullptr) {
        return nullptr;
    }
    const bool isIndented = format != 0 && settings().dropWhitespace;
    const Measure measure = Writer(Measure(), isIndented).write(*m_record);
    if (measure.size() >= INT_MAX) {
        return nullptr;
    }
    auto* const text = static_cast<char*>(malloc(measure.size() + kSlack));
    if (text == nullptr) {
        return nullptr;
    }
    Writer(Output(text), isIndented).write(*m_record);
    text[measure.size()] = '\0';
    if (size != nullptr) {
        *size = static_cast<int>(measure.size());
    }
    return text;
}
