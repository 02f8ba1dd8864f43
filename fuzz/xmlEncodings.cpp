// Documents in whatever encoding: finding it out, opening a file in it, writing the file again. The
// first line of an input is the expected tag (nothing: none), the rest is the file.
#include <cassert>
#include <cstring>
#include <memory>

#include "fuzz/memoryFile.h"
#include "fuzz/target.h"
#include "fuzz/xmlTree.h"
#include "support/xmlParser.h"

namespace {

/// In memory that ends with the text, where a byte behind it is not to be read.
XMLEncoding detect(std::string_view text) {
    const auto copy = std::make_unique<char[]>(text.size());
    memcpy(copy.get(), text.data(), text.size());
    return XMLNode::detectEncoding(copy.get(), text.size());
}

/// What was written can be opened, and is the same document.
void checkWriting(const XMLNode& document) {
    const fuzz::MemoryFile file;
    assert(document.writeToFile(file.path().c_str()) == XMLError::none);
    std::string report;
    const XMLNode again = XMLNode::openDocument(file.path().c_str(), nullptr, &report);
    if (fuzz::isWritable(document)) {
        assert(!again.isEmpty() && report.empty());
        // In front of an element stands the declaration that was written with it.
        assert(document.name() == nullptr ||
               fuzz::contentOf(again).ends_with(fuzz::contentOf(document)));
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view content = fuzz::textOf(data, size);
    const std::string tag = fuzz::upToNul(fuzz::takeLine(content));
    XMLNode::setSettings(XMLSettings{});
    std::string report;
    const fuzz::MemoryFile file(content);
    const XMLNode document = XMLNode::openDocument(file.path().c_str(), tag.c_str(), &report);
    assert(document.isEmpty() == !report.empty());
    if (!content.empty()) {
        assert(XMLNode::settings().encoding == detect(content));
    }
    XMLResults results{};
    const XMLNode parsed = XMLNode::parseXMLFile(file.path().c_str(), tag.c_str(), &results);
    assert(fuzz::rendered(parsed, 1) == fuzz::rendered(document, 1));
    assert(parsed.isEmpty() == (results.error >= XMLError::noXmlData));
    if (!document.isEmpty()) {
        checkWriting(document);
    }
    return 0;
}
