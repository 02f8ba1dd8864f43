#include "fuzz/xmlTree.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <string_view>

namespace fuzz {
namespace {

constexpr std::string_view kSpace = " \t\n\r";

/// Appends `text` so that no two sequences of texts look alike.
void append(std::string& content, char kind, std::string_view text) {
    content += kind;
    content += std::to_string(text.size());
    content += ':';
    content += text;
}

std::string_view trimmed(std::string_view text) {
    const size_t begin = std::min(text.find_first_not_of(kSpace), text.size());
    return text.substr(begin, text.find_last_not_of(kSpace) + 1 - begin);
}

/// A word of a tag that is read as the same word wherever a blank stands in front of it.
bool isPlainWord(std::string_view word) {
    return !word.empty() && word.front() != '"' && word.front() != '\'' && word.back() != '/';
}

/// Behind a "<" some more beginnings have a meaning.
bool isPlainName(std::string_view name) {
    return isPlainWord(name) && name.front() != '/' && name.front() != '?' && name.front() != '!' &&
           name != "PRE";
}

void appendItems(std::string& content, const XMLNode& node) {
    for (int i = 0; i < node.textCount(); ++i) {
        append(content, 't', trimmed(node.text(i)));
    }
    for (int i = 0; i < node.clearCount(); ++i) {
        const ClearSection& section = *node.clearSection(i);
        append(content, 'c', section.openTag);
        append(content, ' ', {section.content, section.length});
    }
    for (int i = 0; i < node.childCount(); ++i) {
        content += contentOf(node.childNode(i));
    }
}

}  // namespace

std::string rendered(const XMLNode& node, int format) {
    int size = 0;
    const std::unique_ptr<char, decltype(&free)> text(node.createString(format, &size), &free);
    return text == nullptr ? std::string() : std::string(text.get(), static_cast<size_t>(size));
}

bool isWritable(const XMLNode& node) {
    if (node.name() != nullptr && !isPlainName(node.name())) {
        return false;
    }
    for (int i = 0; i < node.attributeCount(); ++i) {
        if (!isPlainWord(node.attribute(i)->name)) {
            return false;
        }
    }
    for (int i = 0; i < node.textCount(); ++i) {
        if (trimmed(node.text(i)).empty()) {
            return false;
        }
    }
    for (int i = 0; i < node.childCount(); ++i) {
        if (!isWritable(node.childNode(i))) {
            return false;
        }
    }
    return true;
}

std::string contentOf(const XMLNode& node) {
    std::string content;
    if (node.name() == nullptr) {
        appendItems(content, node);
        return content;
    }
    append(content, node.isDeclaration() ? '?' : '<', node.name());
    for (int i = 0; i < node.attributeCount(); ++i) {
        const NodeAttribute& attribute = *node.attribute(i);
        append(content, 'a', {attribute.name, attribute.nameLength});
        if (attribute.value != nullptr) {
            append(content, '=', {attribute.value, attribute.valueLength});
        }
    }
    appendItems(content, node);
    content += '>';
    return content;
}

std::string withoutSpace(const std::string& text) {
    std::string kept;
    std::copy_if(text.begin(), text.end(), std::back_inserter(kept),
                 [](char character) { return kSpace.find(character) == std::string_view::npos; });
    return kept;
}

}  // namespace fuzz
