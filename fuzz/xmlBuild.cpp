// Building documents: children, texts and attributes put in at any place, against a plain model of
// the document. An input is a list of steps of three bytes: what to add and to which element, at
// which place, and what its name or text is.
#include <algorithm>
#include <array>
#include <cassert>
#include <vector>

#include "fuzz/target.h"
#include "fuzz/xmlTree.h"
#include "support/xmlParser.h"

namespace {

constexpr std::array<const char*, 8> kWords = {"item", "name", "Item",     "errRtn",
                                               "a",    "x-y",  "\xC3\xBC", "_1"};
constexpr std::array<const char*, 8> kTexts = {"text",         "a<b", "&amp;",     "\"'>",
                                               "\xE2\x82\xAC", "",    "two words", "]]>"};

struct Element;

/// One part of an element's content: an element by its number, or else a text.
struct Item {
    size_t element;  // 0: a text, as the first element is in none
    std::string text;
};

struct Element {
    XMLNode node;
    std::string start;  // "<name" and the attributes
    std::string name;
    std::vector<Item> items;
};

std::string escaped(std::string_view text) {
    std::string result;
    for (const char character : text) {
        switch (character) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '"':
                result += "&quot;";
                break;
            case '\'':
                result += "&apos;";
                break;
            default:
                result += character;
        }
    }
    return result;
}

std::string written(const std::vector<Element>& elements, size_t number, size_t depth) {
    const Element& element = elements[number];
    const std::string tabs(depth, '\t');
    if (element.items.empty()) {
        return tabs + element.start + "/>\n";
    }
    std::string text = tabs + element.start + ">\n";
    for (const Item& item : element.items) {
        text += item.element == 0 ? tabs + "\t" + escaped(item.text) + "\n"
                                  : written(elements, item.element, depth + 1);
    }
    return text + tabs + "</" + element.name + ">\n";
}

void insert(Element& element, int position, const Item& item) {
    const auto count = static_cast<int>(element.items.size());
    const int place = position < 0 || position > count ? count : position;
    element.items.insert(element.items.begin() + place, item);
}

void addChild(std::vector<Element>& elements, size_t parent, int position, const char* name) {
    const XMLNode child = elements[parent].node.addChild(name, false, position);
    assert(!child.isEmpty());
    insert(elements[parent], position, {elements.size(), ""});
    elements.push_back({child, std::string("<") + name, name, {}});
}

void addText(Element& element, int position, const std::string& text) {
    const char* const added = element.node.addText(text.c_str(), position);
    assert((added == nullptr) == text.empty());
    if (added != nullptr) {
        assert(added == text && added != text.c_str());
        insert(element, position, {0, text});
    }
}

void addAttribute(Element& element, const char* name, const char* value) {
    const NodeAttribute* const added = element.node.addAttribute(name, value);
    assert(added->name == std::string_view(name));
    element.start += std::string(" ") + name;
    if (value != nullptr) {
        assert(added->value == std::string_view(value));
        element.start += "=\"" + escaped(value) + "\"";
    }
}

void addOne(std::vector<Element>& elements, const uint8_t* step) {
    const size_t number = step[0] / 4 % elements.size();
    // Around the number of items, where the beginning and the end are.
    const int position = static_cast<int>(step[1]) - 1;
    const char* const word = kWords[step[2] % kWords.size()];
    const char* const text = kTexts[step[2] / 8 % kTexts.size()];
    switch (step[0] % 4) {
        case 0:
        case 1:
            addChild(elements, number, position, word);
            break;
        case 2:
            addText(elements[number], position, text);
            break;
        default:
            addAttribute(elements[number], word, step[1] == 0 ? nullptr : text);
    }
}

/// The children and texts of an element, each kind in document order.
void checkContent(const std::vector<Element>& elements, const Element& element) {
    int children = 0;
    int texts = 0;
    for (const Item& item : element.items) {
        if (item.element == 0) {
            assert(element.node.text(texts++) == item.text);
        } else {
            assert(element.node.childNode(children++).name() == elements[item.element].node.name());
        }
    }
    assert(element.node.childCount() == children && element.node.textCount() == texts);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<Element> elements{
        {XMLNode::createTopNode("ZelvDocRoot"), "<ZelvDocRoot", "ZelvDocRoot", {}}};
    for (size_t at = 0; at + 3 <= size; at += 3) {
        addOne(elements, data + at);
    }
    for (const Element& element : elements) {
        checkContent(elements, element);
    }
    const std::string expected = written(elements, 0, 0);
    assert(fuzz::rendered(elements.front().node, 1) == expected);
    // A part lives on by itself, and has forgotten nothing.
    const std::string lastPart = written(elements, elements.size() - 1, 0);
    const XMLNode last = elements.back().node;
    elements.clear();
    assert(fuzz::rendered(last, 1) == lastPart);
    return 0;
}
