// Small in-memory XML library: text to a tree of nodes, a tree to indented text. Requests, package
// descriptors and the session's environment are read with it, and every answer is written with it.
//
// It walks what it is given without validating it: no namespaces, no schema, no outside entities.
// A tree belongs to one thread at a time; two threads may each work on a tree of their own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace support::xml {
struct Record;
}

/// What became of a parse, a base64 text or a file; `XMLNode::errorText` words it.
enum class XMLError : int {
    none = 0,
    unmatchedEndTagWarning = 1,  ///< an element was not closed, or only by an outer one's end tag
    noXmlTagFound = 2,           ///< warning: the text holds no element
    noXmlData = 3,
    missingStartTagName = 4,
    missingEndTagName = 5,
    unmatchedEndTag = 6,       ///< an end tag names no open element
    unmatchedClearTagEnd = 7,  ///< a comment, CDATA, DOCTYPE or PRE section is never closed
    unexpectedToken = 8,
    noElementsFound = 9,
    fileNotFound = 10,
    firstTagNotFound = 11,
    unknownEntity = 12,
    characterAbove255 = 13,
    conversionFailed = 14,
    cannotOpenForWriting = 15,
    cannotWrite = 16,
    base64LengthNotMultipleOf4 = 17,  ///< warning
    base64IllegalCharacter = 18,
    base64Truncated = 19,  ///< warning
    base64BufferTooSmall = 20,
};

/// The outcome of a parse. `line` and `column` count from 1, the column in characters; both are 0
/// when the outcome has no place in the text.
struct XMLResults {
    XMLError error;
    int32_t line;
    int32_t column;
};

/// One attribute of an element. Both strings end with a zero byte and live as long as their tree.
struct NodeAttribute {
    const char* name;
    const char* value;  ///< decoded; null when the attribute was written without "="
    uint32_t nameLength;
    uint32_t valueLength;
    uint32_t escapedLength;  ///< bytes of the value once its markup characters are escaped
};

/// A part of a document that is kept as it was written, between two of the markers `<![CDATA[ ]]>`,
/// `<!DOCTYPE >`, `<!-- -->` and `<PRE> </PRE>`.
struct ClearSection {
    const char* content;
    const char* openTag;   ///< of the library's own table
    const char* closeTag;  ///< likewise
    uint32_t length;       ///< bytes of `content`
};

/// The character encodings known to the library.
enum class XMLEncoding { singleByte, utf8, shiftJis, gb2312, big5, gbk };

/// What every operation of the library goes by.
struct XMLSettings {
    bool dropWhitespace = true;            ///< trim text pieces, indent what is written
    bool mergeTextsAroundComments = true;  ///< "a<!-- -->b" is one text and no comment
    bool skipByteOrderMark = true;         ///< of a file in UTF-8
    XMLEncoding encoding = XMLEncoding::utf8;
};

/// A handle on one node of a tree, or on none: the empty node, which is what every failed lookup
/// returns and which every operation takes without harm.
///
/// Copying a handle shares the node. A node lives, with everything below it, while a handle on it
/// exists, even after the handles on its parents are gone. (The memory of a tree is one block and
/// goes back as a whole, with the last handle on any of its nodes.)
class XMLNode {
  public:
    /// The empty node.
    XMLNode() noexcept = default;
    XMLNode(const XMLNode& other) noexcept;
    XMLNode(XMLNode&& other) noexcept;
    XMLNode& operator=(const XMLNode& other) noexcept;
    XMLNode& operator=(XMLNode&& other) noexcept;
    ~XMLNode();

    // Reading and building documents

    /// Returns a new node without a parent. `name` is copied; null makes an unnamed node, which is
    /// written as its content alone. A declaration is written as "<?name ...?>". The empty node
    /// when memory is lacking.
    static XMLNode createTopNode(const char* name, bool isDeclaration = false);

    /// Parses `text`, which ends with a zero byte and is left unchanged.
    ///
    /// The result is the document's element when the document holds nothing else, otherwise an
    /// unnamed node that holds all of its parts. With a non-empty `tag` it is the element of that
    /// name (letter case is ignored): the document's element or the first such child.
    /// Warnings leave the result usable; from code 3 on it is the empty node. `results`, when
    /// given, receives the outcome in either case:
    ///   - unmatchedEndTagWarning: an end tag closed an outer element over open inner ones (the
    ///     place is the end tag), or the text ended before every element was closed;
    ///   - unmatchedEndTag: an end tag names no open element;
    ///   - unmatchedClearTagEnd: the place is the opening marker that lacks its end;
    ///   - unknownEntity: a character reference without ";", with other characters than digits, or
    ///     for a code that is no character (0, surrogates, above 0x10FFFF);
    ///   - noElementsFound: `text` is null;
    ///   - conversionFailed: `text` is longer than 2 GiB, or memory is lacking.
    /// The time is linear in the text's length; the depth of nesting is limited by memory alone.
    static XMLNode parseString(const char* text, const char* tag = nullptr,
                               XMLResults* results = nullptr);

    /// Parses a regular file as `parseString` does its content. Outcomes of its own: fileNotFound
    /// (cannot be opened or read), noXmlData (empty file), conversionFailed (no memory for it).
    static XMLNode parseXMLFile(const char* path, const char* tag = nullptr,
                                XMLResults* results = nullptr);

    /// Opens a document in whatever encoding it turns out to have, which becomes the library's
    /// encoding (so not while another thread uses the library). On failure returns the empty node
    /// and fills `report`, when given, with a text for a person; a warning is no failure.
    static XMLNode openDocument(const char* path, const char* tag, std::string* report = nullptr);

    /// Returns the encoding of the `length` bytes at `text`: the byte order mark decides, then the
    /// declared encoding, then whether the bytes are UTF-8.
    static XMLEncoding detectEncoding(const char* text, size_t length);

    // Building

    // `position` is the place among the node's children, texts and clear sections in document
    // order; -1 or a place beyond the end is the end. All strings are copied. When memory is
    // lacking nothing is added and the tree stays as it was; the results are then those for an
    // empty node.

    /// Returns the new child; the empty node when this node is empty or `name` is null.
    XMLNode addChild(const char* name, bool isDeclaration = false, int position = -1);
    /// Returns the new attribute, valid until the next one is added to this node; null when this
    /// node is empty or `name` is null. A null `value` is written without "=".
    const NodeAttribute* addAttribute(const char* name, const char* value);
    /// Returns the copy, which lives as long as the tree; null, and no text is added, when this
    /// node is empty or `text` is null or empty.
    const char* addText(const char* text, int position = -1);

    // Writing

    /// Returns the node and all below it as XML text, newly allocated with malloc(3): the caller
    /// frees it. A `format` other than 0 indents by tabs. `*size`, when given, receives the bytes
    /// without the ending zero byte. Null, and size 0, for the empty node and for a text of 2 GiB
    /// or more (each level of depth indents all below it by one more tab).
    char* createString(int format, int* size = nullptr) const;
    /// Writes the node to a file, behind an XML declaration of the library's encoding unless the
    /// document has a declaration of its own. Returns none, noElementsFound for the empty node,
    /// cannotOpenForWriting or cannotWrite (the file is then incomplete).
    XMLError writeToFile(const char* path, int format = 1) const;

    // Looking up: letter case of names (ASCII) is ignored, indexes count from 0

    /// Returns the first child of that name at or after `*index` (0 without `index`), and moves
    /// `*index` behind it, so that repeated calls walk all of them in linear time.
    XMLNode childNode(const char* name, int* index = nullptr) const;
    /// Returns the child of that name with that number; a negative number is the last of them.
    XMLNode childNode(const char* name, int number) const;
    XMLNode childNode(int index) const;
    /// Returns the number of children, or of those with that name.
    int childCount(const char* name = nullptr) const;
    int textCount() const;
    int attributeCount() const;
    int clearCount() const;
    /// Null for the empty node and for the unnamed node around a document of several parts.
    const char* name() const;
    /// The text piece with that index, decoded; null when there is none.
    const char* text(int index = 0) const;
    /// Null when there is none.
    const NodeAttribute* attribute(int index) const;
    const ClearSection* clearSection(int index) const;
    bool isDeclaration() const;
    bool isEmpty() const { return m_record == nullptr; }

    // The library

    /// Replaces the settings of the whole process, for a program that starts: not while another
    /// thread uses the library.
    static void setSettings(const XMLSettings& settings);
    static const XMLSettings& settings();
    /// The message for `error`; "Unknown" for a value outside the enumeration.
    static const char* errorText(XMLError error);
    static const char* versionString();

    // Base64 (RFC 4648, section 4); white space between the characters is skipped

    /// Returns the bytes that `text` decodes to, 0 with base64IllegalCharacter for a text that does
    /// not; base64LengthNotMultipleOf4 is a warning. `error` may be null.
    static int base64DecodedSize(const char* text, XMLError* error = nullptr);
    /// Decodes into `buffer` of `length` bytes. Returns the bytes written, for a text that breaks
    /// off as well (base64Truncated, a warning); -1 with base64IllegalCharacter or
    /// base64BufferTooSmall, when the buffer holds what was decoded so far. No zero byte is added.
    static int base64Decode(const char* text, unsigned char* buffer, int length,
                            XMLError* error = nullptr);

  private:
    explicit XMLNode(support::xml::Record* record) noexcept;
    static XMLNode parse_(const char* text, size_t length, const XMLSettings& settings,
                          const char* tag, XMLResults* results);
    XMLNode expectedNode_(const char* tag, XMLResults* results) const;
    bool isNamed_(const char* name) const;

    support::xml::Record* m_record = nullptr;
};
