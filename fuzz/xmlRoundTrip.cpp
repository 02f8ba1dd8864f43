// Parsing, rendering and looking up. The first line of an input is the expected tag (nothing:
// none), the rest is the document.
#include <algorithm>
#include <cassert>

#include "fuzz/target.h"
#include "fuzz/xmlTree.h"
#include "support/xmlParser.h"

namespace {

/// Every way of asking for children of a name finds the same ones.
void checkLookups(const XMLNode& node) {
    for (int i = 0; i < node.childCount(); ++i) {
        const char* const name = node.childNode(i).name();
        assert(name != nullptr);
        std::string otherCase = name;
        std::transform(otherCase.begin(), otherCase.end(), otherCase.begin(), [](char character) {
            return character >= 'a' && character <= 'z' ? static_cast<char>(character - 32)
                                                        : character;
        });
        const int count = node.childCount(otherCase.c_str());
        assert(count == node.childCount(name) && count > 0);
        int index = 0;
        int walked = 0;
        while (!node.childNode(otherCase.c_str(), &index).isEmpty()) {
            ++walked;
        }
        assert(walked == count);
        assert(node.childNode(name, count).isEmpty());
        assert(node.childNode(name, -1).name() == node.childNode(name, count - 1).name());
    }
    assert(node.childNode(-1).isEmpty() && node.childNode(node.childCount()).isEmpty());
    assert(node.text(node.textCount()) == nullptr && node.text(-1) == nullptr);
}

void checkResults(const XMLNode& node, const XMLResults& results, const std::string& document) {
    assert(node.isEmpty() == (results.error >= XMLError::noXmlData));
    const auto lines = std::count(document.begin(), document.end(), '\n') + 1;
    assert(results.line <= lines && results.column <= static_cast<int>(document.size()) + 1);
}

/// The rendering, in either layout, is the tree once more.
void checkRoundTrip(const XMLNode& node) {
    const std::string indented = fuzz::rendered(node, 1);
    const std::string packed = fuzz::rendered(node, 0);
    const XMLNode fromIndented = XMLNode::parseString(indented.c_str());
    const XMLNode fromPacked = XMLNode::parseString(packed.c_str());
    if (!fuzz::isWritable(node)) {
        return;
    }
    assert(fuzz::contentOf(fromIndented) == fuzz::contentOf(node));
    assert(fuzz::contentOf(fromPacked) == fuzz::contentOf(node));
    // The order of texts, children and clear sections.
    const std::string essence = fuzz::withoutSpace(indented);
    assert(fuzz::withoutSpace(packed) == essence);
    assert(fuzz::withoutSpace(fuzz::rendered(fromIndented, 1)) == essence);
    assert(fuzz::withoutSpace(fuzz::rendered(fromPacked, 1)) == essence);
    // A rendering has settled when it was parsed once.
    const std::string settled = fuzz::rendered(fromIndented, 1);
    assert(fuzz::rendered(XMLNode::parseString(settled.c_str()), 1) == settled);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view rest = fuzz::textOf(data, size);
    const std::string tag = fuzz::upToNul(fuzz::takeLine(rest));
    const std::string document = fuzz::upToNul(rest);
    XMLResults results{};
    const XMLNode node = XMLNode::parseString(document.c_str(), tag.c_str(), &results);
    checkResults(node, results, document);
    checkLookups(node);
    if (!node.isEmpty()) {
        checkRoundTrip(node);
    }
    return 0;
}
