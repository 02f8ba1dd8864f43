#include "support/confParser.h"

#include <algorithm>
#include <span>

#include "support/logLine.h"
#include "support/wholeFile.h"

namespace {

constexpr size_t kLongestPiece = 1023;  // of a line; what follows is handled as a line of its own
constexpr support::LogSource kOpenFailed{"confParser", 24,
                                         "int ConfParser::parseFile(const string&)"};
constexpr const char* kEnableKey = "Enable";
constexpr std::string_view kEnabled = "TRUE";

/// Cuts "key = value" in two; `equals` is the place of the first '='.
ConfEntry splitLine(std::string_view line, size_t equals, bool spaceBefore) {
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

/// The place of `key` among sorted entries, or the place where it belongs.
template <typename Entries>
auto placeOf(Entries& entries, std::string_view key) {
    return std::ranges::lower_bound(entries, key, {}, &ConfEntry::key);
}

}  // namespace

int ConfParser::parseFile(const std::string& path) {
    m_sections.clear();
    m_firstOfName.clear();
    m_lines.clear();
    m_stored.clear();
    m_text.clear();
    m_name = {};
    const support::Descriptor file = support::openRegularFile(path.c_str());
    if (!file) {
        support::logLine(support::Colour::none, kOpenFailed, "%s", "fopen() fail");
        return -1;
    }
    support::readToEnd(file, m_text);
    for (std::string_view text = m_text; !text.empty();) {
        const std::string_view reach = text.substr(0, kLongestPiece);
        const size_t lineFeed = reach.find('\n');
        const size_t length = lineFeed == std::string_view::npos ? reach.size() : lineFeed + 1;
        readPiece_(text.substr(0, std::min(length, reach.find('\0'))));
        text.remove_prefix(length);
    }
    listSection_();
    return 0;
}

/// `piece` is a line with its line feed, or a part of a long one.
void ConfParser::readPiece_(std::string_view piece) {
    const size_t blanks = std::min(piece.find_first_not_of(' '), piece.size());
    const std::string_view line = piece.substr(blanks);
    if (line.starts_with('[')) {
        readHeader_(line);
        return;
    }
    const size_t equals = line.find('=');
    // Sections without a name, and what stands in them, are not kept.
    if (equals == std::string_view::npos || m_name.empty()) {
        return;
    }
    const size_t inPiece = blanks + equals;
    const bool spaceBefore = inPiece > 0 && piece[inPiece - 1] == ' ';
    m_lines.push_back(splitLine(line, equals, spaceBefore));
}

/// A header without ']' ends no section: the current one is listed here and, with the lines that
/// follow, once more where it really ends. Lookups by name read the first of the two.
void ConfParser::readHeader_(std::string_view header) {
    listSection_();
    const size_t end = header.find(']');
    if (end != std::string_view::npos) {
        m_name = header.substr(1, end - 1);
        m_firstLine = m_lines.size();
    }
}

void ConfParser::listSection_() {
    if (m_name.empty()) {
        return;
    }
    const ConfSection section{m_name, m_firstLine, m_lines.size() - m_firstLine};
    const auto [first, isFirst] = m_firstOfName.try_emplace(m_name, First{m_sections.size(), {}});
    if (isFirst) {
        first->second.entries = entriesOf_(section);
    }
    m_sections.push_back(section);
}

/// Each key once, sorted, with the value of its last line.
std::vector<ConfEntry> ConfParser::entriesOf_(const ConfSection& section) const {
    const auto lines = std::span(m_lines).subspan(section.first, section.count);
    std::vector<ConfEntry> entries(lines.begin(), lines.end());
    std::ranges::stable_sort(entries, {}, &ConfEntry::key);
    // std::unique keeps the first of equal keys: seen from the back, that is the last line.
    const auto sameKey = [](const ConfEntry& a, const ConfEntry& b) { return a.key == b.key; };
    const auto kept = std::unique(entries.rbegin(), entries.rend(), sameKey);
    entries.erase(entries.begin(), kept.base());
    return entries;
}

unsigned ConfParser::getSectionCount() const {
    return static_cast<unsigned>(m_sections.size());
}

std::string ConfParser::getSectionName(unsigned index) const {
    return std::string(index < m_sections.size() ? m_sections[index].name : std::string_view());
}

std::string ConfParser::getValue(const std::string& section, const std::string& key) const {
    const auto found = m_firstOfName.find(section);
    if (found == m_firstOfName.end()) {
        return {};
    }
    const auto& entries = found->second.entries;
    const auto place = placeOf(entries, key);
    if (place == entries.end() || place->key != key) {
        return {};
    }
    return std::string(place->value.substr(0, place->value.find('\0')));
}

int ConfParser::setValue(const std::string& section, const std::string& key,
                         const std::string& value) {
    const auto found = m_firstOfName.find(section);
    if (found == m_firstOfName.end()) {
        return -1;
    }
    valueOf_(found->second, key) = m_stored.emplace_back(value);
    return 0;
}

bool ConfParser::isEnabled(const std::string& section) {
    const auto found = m_firstOfName.find(section);
    return found != m_firstOfName.end() && valueOf_(found->second, kEnableKey) == kEnabled;
}

/// The value under `key`, added empty when it is missing.
std::string_view& ConfParser::valueOf_(First& section, std::string_view key) {
    auto place = placeOf(section.entries, key);
    if (place == section.entries.end() || place->key != key) {
        place = section.entries.insert(place, {m_stored.emplace_back(key), {}});
    }
    return place->value;
}

void ConfParser::dump() const {
    for (size_t index = 0; index < m_sections.size(); ++index) {
        const ConfSection& section = m_sections[index];
        support::printOut("%s\n", std::string(section.name).c_str());
        const First& first = m_firstOfName.at(section.name);
        for (const auto& [key, value] :
             index == first.index ? first.entries : entriesOf_(section)) {
            support::printOut("\t %s = %s\n", std::string(key).c_str(), std::string(value).c_str());
        }
    }
}
