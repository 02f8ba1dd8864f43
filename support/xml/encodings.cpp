// Character encodings: lengths of their characters, their names, and which one a text is in.
#include <cstring>

#include "support/xml/characters.h"

namespace support::xml {

namespace {

struct LeadBytes {
    unsigned char first;
    unsigned char last;
    uint8_t length;
};

template <size_t kCount>
constexpr std::array<uint8_t, 256> makeLengths(const std::array<LeadBytes, kCount>& ranges) {
    std::array<uint8_t, 256> lengths{};
    lengths.fill(1);
    lengths[0] = 0;
    for (const LeadBytes& range : ranges) {
        for (int byte = range.first; byte <= range.last; ++byte) {
            lengths[static_cast<size_t>(byte)] = range.length;
        }
    }
    return lengths;
}

constexpr auto kSingleByteLengths = makeLengths(std::array<LeadBytes, 0>{});
constexpr auto kUtf8Lengths = makeLengths(
    std::array{LeadBytes{0xC2, 0xDF, 2}, LeadBytes{0xE0, 0xEF, 3}, LeadBytes{0xF0, 0xF4, 4}});
constexpr auto kShiftJisLengths =
    makeLengths(std::array{LeadBytes{0x81, 0x9F, 2}, LeadBytes{0xE0, 0xFC, 2}});
constexpr auto kGb2312Lengths = makeLengths(std::array{LeadBytes{0xA1, 0xF7, 2}});
constexpr auto kBig5Lengths = makeLengths(std::array{LeadBytes{0x81, 0xFE, 2}});
constexpr auto kGbkLengths = makeLengths(std::array{LeadBytes{0x81, 0xFE, 2}});

struct EncodingRow {
    const char* name;
    const std::array<uint8_t, 256>& lengths;
    unsigned char lowestTrailByte;
    unsigned char highestTrailByte;
};

// In the order of the enumeration.
constexpr EncodingRow kEncodings[] = {
    {"ISO-8859-1", kSingleByteLengths, 0, 0},    {"UTF-8", kUtf8Lengths, 0x80, 0xBF},
    {"Shift-JIS", kShiftJisLengths, 0x40, 0xFC}, {"GB2312", kGb2312Lengths, 0xA1, 0xFE},
    {"Big5", kBig5Lengths, 0x40, 0xFE},          {"GBK", kGbkLengths, 0x40, 0xFE},
};

const EncodingRow& rowOf(XMLEncoding encoding) {
    return kEncodings[static_cast<size_t>(encoding)];
}

/// Whether the first byte at `text` is followed by the bytes that it announces.
bool isWhole(const char* text, const char* end, size_t length, const EncodingRow& row) {
    if (length > static_cast<size_t>(end - text)) {
        return false;
    }
    for (size_t i = 1; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < row.lowestTrailByte || byte > row.highestTrailByte) {
            return false;
        }
    }
    return true;
}

bool isUtf8(const char* text, const char* end) {
    const EncodingRow& utf8 = rowOf(XMLEncoding::utf8);
    while (text < end) {
        const size_t length = utf8.lengths[static_cast<unsigned char>(*text)];
        if (length == 0) {
            return true;
        }
        if (!isWhole(text, end, length, utf8)) {
            return false;
        }
        text += length;
    }
    return true;
}

/// The declared encoding's value and all behind it; empty when the text declares none.
std::string_view declaredEncoding(std::string_view text) {
    constexpr std::string_view kWord = "encoding";
    for (size_t at = text.find(kWord); at != std::string_view::npos; at = text.find(kWord, at)) {
        at += kWord.size();
        const size_t quote = text.find_first_not_of(" \t\n\r=", at);
        if (quote != std::string_view::npos && (text[quote] == '"' || text[quote] == '\'')) {
            return text.substr(quote + 1);
        }
    }
    return {};
}

struct DeclaredName {
    std::string_view start;
    XMLEncoding encoding;
};

constexpr DeclaredName kDeclaredNames[] = {
    {"utf-8", XMLEncoding::utf8},        {"utf8", XMLEncoding::utf8},
    {"shiftjis", XMLEncoding::shiftJis}, {"shift-jis", XMLEncoding::shiftJis},
    {"sjis", XMLEncoding::shiftJis},     {"GB2312", XMLEncoding::gb2312},
    {"Big5", XMLEncoding::big5},         {"GBK", XMLEncoding::gbk},
};

bool startsWithName(std::string_view value, std::string_view name) {
    if (value.size() < name.size()) {
        return false;
    }
    for (size_t i = 0; i < name.size(); ++i) {
        if (lowerCase(value[i]) != lowerCase(name[i])) {
            return false;
        }
    }
    return true;
}

}  // namespace

size_t characterLength(const char* text, const char* end, XMLEncoding encoding) {
    const EncodingRow& row = rowOf(encoding);
    const size_t length = row.lengths[static_cast<unsigned char>(*text)];
    return length <= 1 || isWhole(text, end, length, row) ? length : 1;
}

const char* encodingName(XMLEncoding encoding) {
    return rowOf(encoding).name;
}

}  // namespace support::xml

XMLEncoding XMLNode::detectEncoding(const char* text, size_t length) {
    using namespace support::xml;
    const std::string_view whole(text, length);
    if (whole.substr(0, 3) == "\xEF\xBB\xBF") {
        return XMLEncoding::utf8;
    }
    const XMLEncoding scanned =
        isUtf8(text, text + length) ? XMLEncoding::utf8 : XMLEncoding::singleByte;
    const std::string_view declared = declaredEncoding(whole);
    if (declared.data() == nullptr) {
        return scanned;
    }
    for (const DeclaredName& name : kDeclaredNames) {
        if (startsWithName(declared, name.start)) {
            return name.encoding == XMLEncoding::utf8 ? scanned : name.encoding;
        }
    }
    return XMLEncoding::singleByte;
}
