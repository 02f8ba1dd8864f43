// Documents in files: reading them whole, opening them in their own encoding, writing them.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>

#include "support/wholeFile.h"
#include "support/xml/characters.h"

namespace {

/// Reads the file at `path` into `text`.
XMLError readDocument(const char* path, std::string& text) try {
    constexpr size_t kLargest = INT32_MAX;
    const support::Descriptor file = support::openRegularFile(path == nullptr ? "" : path);
    if (!file || !support::readToEnd(file, text, kLargest + 1)) {
        return XMLError::fileNotFound;
    }
    if (text.empty()) {
        return XMLError::noXmlData;
    }
    return text.size() > kLargest ? XMLError::conversionFailed : XMLError::none;
} catch (const std::bad_alloc&) {
    return XMLError::conversionFailed;
}

/// The document behind a byte order mark, when that is to be skipped.
const char* behindMark(const std::string& text, const XMLSettings& settings) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    const bool isSkipped = settings.skipByteOrderMark && text.starts_with(kByteOrderMark);
    return text.c_str() + (isSkipped ? kByteOrderMark.size() : 0);
}

std::string wordReport(const char* path, const char* tag, const XMLResults& results) {
    const bool isTagMissing = results.error == XMLError::firstTagNotFound;
    std::string report = "XML Parsing error inside file '";
    report.append(path == nullptr ? "" : path).append("'.\n");
    report.append(XMLNode::errorText(results.error)).append("\nAt line ");
    report.append(std::to_string(results.line)).append(", column ");
    report.append(std::to_string(results.column)).append(".\n");
    if (isTagMissing) {
        report.append("First Tag should be '").append(tag).append("'");
    }
    return report;
}

}  // namespace

XMLNode XMLNode::parseXMLFile(const char* path, const char* tag, XMLResults* results) {
    std::string text;
    const XMLError error = readDocument(path, text);
    if (error == XMLError::none) {
        return parseString(behindMark(text, settings()), tag, results);
    }
    if (results != nullptr) {
        *results = {error, 0, 0};
    }
    return {};
}

XMLNode XMLNode::openDocument(const char* path, const char* tag, std::string* report) {
    std::string text;
    XMLResults results{readDocument(path, text), 0, 0};
    XMLNode document;
    if (results.error == XMLError::none) {
        XMLSettings changed = settings();
        changed.encoding = detectEncoding(text.data(), text.size());
        setSettings(changed);
        document = parseString(behindMark(text, changed), tag, &results);
    }
    if (document.isEmpty() && report != nullptr) {
        *report = wordReport(path, tag, results);
    }
    return document;
}

XMLError XMLNode::writeToFile(const char* path, int format) const {
    int size = 0;
    const std::unique_ptr<char, decltype(&free)> text(createString(format, &size), &free);
    if (text == nullptr) {
        return isEmpty() ? XMLError::noElementsFound : XMLError::conversionFailed;
    }
    FILE* const file = path == nullptr ? nullptr : fopen(path, "wbe");
    if (file == nullptr) {
        return XMLError::cannotOpenForWriting;
    }
    const bool isDeclared = isDeclaration() || (name() == nullptr && childNode(0).isDeclaration());
    bool isWritten = true;
    if (!isDeclared) {
        isWritten = fprintf(file, "<?xml version=\"1.0\" encoding=\"%s\"?>\n",
                            support::xml::encodingName(settings().encoding)) > 0;
    }
    const auto length = static_cast<size_t>(size);
    isWritten = fwrite(text.get(), 1, length, file) == length && isWritten;
    isWritten = fclose(file) == 0 && isWritten;
    return isWritten ? XMLError::none : XMLError::cannotWrite;
}
