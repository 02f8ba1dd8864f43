// The configuration reader against a second one, which follows the line syntax step by step as
// slowly as it is told. The whole input is the file.
#include <algorithm>
#include <cassert>
#include <cstdio>
#include <cstring>
#include <map>
#include <utility>
#include <vector>

#include "fuzz/memoryFile.h"
#include "fuzz/target.h"
#include "support/confParser.h"

namespace {

struct Section {
    std::string name;
    std::map<std::string, std::string> entries;
};

/// Reads "key = value" from `text`, the line behind its leading blanks, into `entries`.
void readEntry(const char* line, const char* text, std::map<std::string, std::string>& entries) {
    const char* const equals = strchr(text, '=');
    if (equals == nullptr) {
        return;
    }
    const bool spaceBefore = equals > line && equals[-1] == ' ';
    const std::string key(text, spaceBefore && equals > text ? equals - 1 : equals);
    std::string value = spaceBefore ? equals : equals + 1;
    while (!value.empty() && (value.front() == '=' || value.front() == ' ')) {
        value.erase(0, 1);
        value.erase(std::min(value.find('\n'), value.size()));
    }
    entries[key] = value;
}

std::vector<Section> readSlowly(const std::string& path) {
    std::vector<Section> sections;
    Section current;
    FILE* const file = fopen(path.c_str(), "re");
    char line[1024];
    while (fgets(line, sizeof line, file) != nullptr) {
        if (line[0] == '\n') {
            continue;
        }
        const char* const text = line + strspn(line, " ");
        if (*text != '[') {
            readEntry(line, text, current.entries);
            continue;
        }
        if (!current.name.empty()) {
            sections.push_back(current);
        }
        if (const char* const end = strchr(text, ']'); end != nullptr) {
            current = {std::string(text + 1, end), {}};
        }
    }
    fclose(file);
    if (!current.name.empty()) {
        sections.push_back(current);
    }
    return sections;
}

/// The first section of that name, which lookups read.
const Section& firstOf(const std::vector<Section>& sections, const std::string& name) {
    size_t index = 0;
    while (sections[index].name != name) {
        ++index;
    }
    return sections[index];
}

void checkChanges(ConfParser& parser, const std::string& section, const std::string& key) {
    const bool wasEnabled = parser.getValue(section, "Enable") == "TRUE";
    assert(parser.isEnabled(section) == wasEnabled);
    assert(parser.setValue(section, key, "changed") == 0);
    assert(parser.getValue(section, key) == "changed");
    assert(parser.setValue(section, "a new key", "new") == 0);
    assert(parser.getValue(section, "a new key") == "new");
    assert(parser.getValue(section, key) == (key == "a new key" ? "new" : "changed"));
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const fuzz::MemoryFile file(fuzz::textOf(data, size));
    const std::vector<Section> expected = readSlowly(file.path());
    ConfParser parser;
    assert(parser.parseFile(file.path()) == 0);
    assert(parser.getSectionCount() == expected.size());
    assert(parser.getSectionName(static_cast<unsigned>(expected.size())).empty());
    for (unsigned i = 0; i < expected.size(); ++i) {
        const std::string name = parser.getSectionName(i);
        assert(name == expected[i].name);
        for (const auto& [key, value] : firstOf(expected, name).entries) {
            assert(parser.getValue(name, key) == value);
        }
        assert(parser.getValue(name, "no such\nkey").empty());
    }
    parser.dump();
    for (const Section& section : expected) {
        const std::string key = section.entries.empty() ? "key" : section.entries.begin()->first;
        checkChanges(parser, section.name, key);
    }
    assert(parser.setValue("no such\nsection", "key", "value") == -1);
    parser.dump();
    return 0;
}
