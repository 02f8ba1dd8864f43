// Small in-memory XML library: text to a tree of nodes, a tree to indented text.
#pragma once

#include <cstdint>

enum class XMLError : int { none = 0 };

struct XMLResults {
    XMLError error;
    int32_t line;
    int32_t column;
};

struct NodeAttribute;

class XMLNode {
  public:
    XMLNode() noexcept;
    XMLNode(const XMLNode& other) noexcept;
    XMLNode& operator=(const XMLNode& other) noexcept;
    ~XMLNode();

    static XMLNode createTopNode(const char* name, bool isDeclaration = false);
    static XMLNode parseString(const char* text, const char* tag = nullptr,
                               XMLResults* results = nullptr);
    static XMLNode parseXMLFile(const char* path, const char* tag = nullptr,
                                XMLResults* results = nullptr);
    static const char* errorText(XMLError error);
    static const char* versionString();

    /// Bytes that the base64 text decodes to; 0 with `*error` set on an illegal character.
    static int base64DecodedSize(const char* text, XMLError* error = nullptr);
    /// Decodes into `buffer` of `length` bytes; returns the bytes written, or -1 with `*error` set.
    static int base64Decode(const char* text, unsigned char* buffer, int length,
                            XMLError* error = nullptr);

    XMLNode addChild(const char* name, bool isDeclaration = false, int position = -1);
    const NodeAttribute* addAttribute(const char* name, const char* value);
    const char* addText(const char* text, int position = -1);
    /// Newly allocated with malloc; the caller frees it.
    char* createString(int format, int* size = nullptr) const;

    XMLNode childNode(const char* name, int* index = nullptr) const;
    XMLNode childNode(const char* name, int number) const;
    XMLNode childNode(int index) const;
    int childCount(const char* name = nullptr) const;
    const char* name() const;
    const char* text(int index = 0) const;
    bool isEmpty() const;
};
