#include "support/confParser.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string_view>

#include "support/logLine.h"

namespace {

constexpr size_t kLongestPiece = 1023;  // of a line; what follows is handled as a line of its own
constexpr size_t kFirstRead = 16384;
constexpr support::LogSource kOpenFailed{"confParser", 24,
                                         "int ConfParser::parseFile(const string&)"};
constexpr const char* kEnableKey = "Enable";

using Entry = ConfSection::Entry;
using FilePtr = std::unique_ptr<FILE, int (*)(FILE*)>;

/// Everything up to the end of the file, or up to a read error.
std::string readAll(FILE* file) {
    std::string text;
    size_t length = 0;
    size_t count = 0;
    do {
        if (length == text.size()) {
            text.resize(std::max(kFirstRead, 2 * length));
        }
        count = fread(text.data() + length, 1, text.size() - length, file);
        length += count;
    } while (count > 0);
    text.resize(length);
    return text;
}

struct Line {
    std::string_view key;
    std::string_view value;
};

/// Cuts "key = value" in two; `equals` is the place of the first '='.
Line splitLine(std::string_view line, size_t equals, bool spaceBefore) {
    const size_t keyEnd = spaceBefore && equals > 0 ? equals - 1 : equals;
    std::string_view value = line.substr(spaceBefore ? equals : equals + 1);
    const size_t start = std::min(value.find_first_not_of("= "), value.size());
    value.remove_prefix(start);
    // Files written without any space around '=' have always kept their line feed, and their
    // readers cut it off themselves.
    if (start > 0 && value.ends_with('\n')) {
        value.remove_suffix(1);
    }
    return {line.substr(0, keyEnd), value};
}

/// Goes through a file's text once and lists its sections. Until a section is listed, its lines
/// are views of the text in their order.
class SectionReader {
  public:
    explicit SectionReader(std::vector<ConfSection>& sections) : m_sections(sections) {}

    void read(std::string_view text);

  private:
    void readPiece_(std::string_view piece);
    void readHeader_(std::string_view header);
    void listSection_();

    std::vector<ConfSection>& m_sections;
    std::string_view m_name;
    std::vector<Line> m_lines;
};

void SectionReader::read(std::string_view text) {
    while (!text.empty()) {
        const std::string_view reach = text.substr(0, kLongestPiece);
        const size_t lineFeed = reach.find('\n');
        const size_t length = lineFeed == std::string_view::npos ? reach.size() : lineFeed + 1;
        readPiece_(text.substr(0, std::min(length, reach.find('\0'))));
        text.remove_prefix(length);
    }
    listSection_();
}

/// `piece` is a line with its line feed, or a part of a long one.
void SectionReader::readPiece_(std::string_view piece) {
    const size_t blanks = std::min(piece.find_first_not_of(' '), piece.size());
    const std::string_view line = piece.substr(blanks);
    if (line.starts_with('[')) {
        readHeader_(line);
        return;
    }
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
        return;
    }
    const size_t inPiece = blanks + equals;
    const bool spaceBefore = inPiece > 0 && piece[inPiece - 1] == ' ';
    m_lines.push_back(splitLine(line, equals, spaceBefore));
}

/// A header without ']' ends no section: the current one is listed here and, with the lines that
/// follow, once more where it really ends. Lookups by name read the first of the two.
void SectionReader::readHeader_(std::string_view header) {
    listSection_();
    const size_t end = header.find(']');
    if (end == std::string_view::npos) {
        return;
    }
    m_name = header.substr(1, end - 1);
    m_lines.clear();
}

/// Sections without a name, and what stands in them, are not kept. Of lines with the same key the
/// last one counts.
void SectionReader::listSection_() {
    if (m_name.empty()) {
        return;
    }
    const auto before = [](const Line& a, const Line& b) { return a.key < b.key; };
    const auto sameKey = [](const Line& a, const Line& b) { return a.key == b.key; };
    std::stable_sort(m_lines.begin(), m_lines.end(), before);
    // std::unique keeps the first of equal keys: seen from the back, that is the last line.
    const auto kept = std::unique(m_lines.rbegin(), m_lines.rend(), sameKey);
    m_lines.erase(m_lines.begin(), kept.base());

    ConfSection& section = m_sections.emplace_back();
    section.name = m_name;
    section.entries.reserve(m_lines.size());
    for (const Line& line : m_lines) {
        section.entries.emplace_back(line.key, line.value);
    }
}

bool keyBefore(const Entry& entry, const std::string& key) {
    return entry.first < key;
}

/// The place of `key` among sorted entries, or the place where it belongs.
template <typename Entries>
auto placeOf(Entries& entries, const std::string& key) {
    return std::lower_bound(entries.begin(), entries.end(), key, keyBefore);
}

/// The value under `key`, added empty when it is missing.
std::string& valueOf(ConfSection& section, const std::string& key) {
    auto place = placeOf(section.entries, key);
    if (place == section.entries.end() || place->first != key) {
        place = section.entries.emplace(place, key, std::string());
    }
    return place->second;
}

}  // namespace

int ConfParser::parseFile(const std::string& path) {
    m_sections.clear();
    m_firstOfName.clear();
    // Close-on-exec ("e"): another thread may start a program while the registry is read.
    const FilePtr file(fopen(path.c_str(), "re"), fclose);
    if (file == nullptr) {
        support::logLine(support::Colour::none, kOpenFailed, "%s", "fopen() fail");
        return -1;
    }
    SectionReader(m_sections).read(readAll(file.get()));
    for (size_t index = 0; index < m_sections.size(); ++index) {
        m_firstOfName.try_emplace(m_sections[index].name, index);
    }
    return 0;
}

const ConfSection* ConfParser::findSection_(const std::string& name) const {
    const auto found = m_firstOfName.find(name);
    return found == m_firstOfName.end() ? nullptr : &m_sections[found->second];
}

ConfSection* ConfParser::findSection_(const std::string& name) {
    const auto found = m_firstOfName.find(name);
    return found == m_firstOfName.end() ? nullptr : &m_sections[found->second];
}

unsigned ConfParser::getSectionCount() const {
    return static_cast<unsigned>(m_sections.size());
}

std::string ConfParser::getSectionName(unsigned index) const {
    return index < m_sections.size() ? m_sections[index].name : std::string();
}

std::string ConfParser::getValue(const std::string& section, const std::string& key) const {
    const ConfSection* found = findSection_(section);
    if (found == nullptr) {
        return {};
    }
    const auto place = placeOf(found->entries, key);
    if (place == found->entries.end() || place->first != key) {
        return {};
    }
    return place->second.c_str();  // NOLINT(readability-redundant-string-cstr): cut at a NUL byte
}

int ConfParser::setValue(const std::string& section, const std::string& key,
                         const std::string& value) {
    ConfSection* found = findSection_(section);
    if (found == nullptr) {
        return -1;
    }
    valueOf(*found, key) = value;
    return 0;
}

bool ConfParser::isEnabled(const std::string& section) {
    ConfSection* found = findSection_(section);
    return found != nullptr && valueOf(*found, kEnableKey) == "TRUE";
}

void ConfParser::dump() const {
    for (const ConfSection& section : m_sections) {
        support::printOut("%s\n", section.name.c_str());
        for (const auto& [key, value] : section.entries) {
            support::printOut("\t %s = %s\n", key.c_str(), value.c_str());
        }
    }
}
