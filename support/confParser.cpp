#include "support/confParser.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <utility>

#include "support/logLine.h"

namespace {

constexpr size_t kPieceBuffer = 1024;  // a NUL byte ends each piece: 1023 bytes of a line
constexpr support::LogSource kOpenFailed{"confParser", 24,
                                         "int ConfParser::parseFile(const string&)"};
constexpr const char* kEnableKey = "Enable";

using Entry = ConfSection::Entry;

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

/// Cuts "key = value" in two; `equals` is the place of the first '='.
Entry splitEntry(std::string_view line, size_t equals, bool spaceBefore) {
    const size_t keyEnd = spaceBefore && equals > 0 ? equals - 1 : equals;
    std::string_view value = line.substr(spaceBefore ? equals : equals + 1);
    const size_t start = std::min(value.find_first_not_of("= "), value.size());
    value.remove_prefix(start);
    // Files written without any space around '=' have always kept their line feed, and their
    // readers cut it off themselves.
    if (start > 0) {
        value = value.substr(0, value.find('\n'));
    }
    return {std::string(line.substr(0, keyEnd)), std::string(value)};
}

/// Sorts entries that stand in file order; of equal keys the last one stays.
void sortEntries(std::vector<Entry>& entries) {
    const auto before = [](const Entry& a, const Entry& b) { return a.first < b.first; };
    if (!std::is_sorted(entries.begin(), entries.end(), before)) {
        std::stable_sort(entries.begin(), entries.end(), before);
    }
    const auto sameKey = [](const Entry& a, const Entry& b) { return a.first == b.first; };
    // std::unique keeps the first of equal keys: seen from the back, that is the last line.
    const auto kept = std::unique(entries.rbegin(), entries.rend(), sameKey);
    entries.erase(entries.begin(), kept.base());
}

}  // namespace

int ConfParser::parseFile(const std::string& path) {
    m_sections.clear();
    m_firstOfName.clear();
    // Close-on-exec ("e"): another thread may start a program while the registry is read.
    const std::unique_ptr<FILE, int (*)(FILE*)> file(fopen(path.c_str(), "re"), fclose);
    if (file == nullptr) {
        support::logLine(support::Colour::none, kOpenFailed, "%s", "fopen() fail");
        return -1;
    }
    ConfSection current;
    std::array<char, kPieceBuffer> buffer;
    while (fgets(buffer.data(), buffer.size(), file.get()) != nullptr) {
        readPiece_(buffer.data(), current);
    }
    appendSection_(std::move(current));
    return 0;
}

/// `piece` is a line with its line feed, or a part of a long one.
void ConfParser::readPiece_(std::string_view piece, ConfSection& current) {
    const size_t blanks = std::min(piece.find_first_not_of(' '), piece.size());
    const std::string_view line = piece.substr(blanks);
    if (line.starts_with('[')) {
        readHeader_(line, current);
        return;
    }
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
        return;
    }
    const size_t inPiece = blanks + equals;
    const bool spaceBefore = inPiece > 0 && piece[inPiece - 1] == ' ';
    current.entries.push_back(splitEntry(line, equals, spaceBefore));
}

/// A header without ']' ends no section: the current one is listed here and, with the lines that
/// follow, once more where it really ends. Lookups by name read the first of the two.
void ConfParser::readHeader_(std::string_view header, ConfSection& current) {
    const size_t end = header.find(']');
    if (end == std::string_view::npos) {
        appendSection_(current);
        return;
    }
    appendSection_(std::move(current));
    current.name = header.substr(1, end - 1);
    current.entries.clear();
}

/// Sections without a name, and what stands in them, are not kept.
void ConfParser::appendSection_(ConfSection section) {
    if (section.name.empty()) {
        return;
    }
    m_firstOfName.try_emplace(section.name, m_sections.size());
    sortEntries(section.entries);
    m_sections.push_back(std::move(section));
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
