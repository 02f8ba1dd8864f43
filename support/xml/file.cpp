// Documents in files: reading them whole, opening them in their own encoding, writing them.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "support/xml/characters.h"
#include "support/xml/parseContext.h"

namespace {

/// A file's content with zero bytes behind it, so that no character is cut off at the end.
struct FileContent {
    static constexpr size_t kEndingZeros = 4;

    std::unique_ptr<char[]> bytes;
    size_t size = 0;
    XMLError error = XMLError::none;
};

/// Closes the descriptor with the scope.
class OpenFile {
  public:
    // Without waiting: a pipe in place of the file must not hold up its reader.
    explicit OpenFile(const char* path)
        : m_descriptor(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() {
        if (m_descriptor >= 0) {
            close(m_descriptor);
        }
    }

    /// Bytes of the regular file; -1 when it is none or could not be opened.
    int64_t size() const {
        struct stat status {};
        const bool isFile =
            m_descriptor >= 0 && fstat(m_descriptor, &status) == 0 && S_ISREG(status.st_mode);
        return isFile ? status.st_size : -1;
    }

    /// Reads up to `size` bytes; returns how many the file had, -1 on an error.
    ssize_t read(char* buffer, size_t size) const {
        size_t total = 0;
        while (total < size) {
            const ssize_t count = ::read(m_descriptor, buffer + total, size - total);
            if (count < 0 && errno == EINTR) {
                continue;
            }
            if (count < 0) {
                return -1;
            }
            if (count == 0) {
                break;
            }
            total += static_cast<size_t>(count);
        }
        return static_cast<ssize_t>(total);
    }

  private:
    int m_descriptor;
};

FileContent readFile(const char* path) {
    FileContent content;
    const OpenFile file(path == nullptr ? "" : path);
    const int64_t size = file.size();
    if (size <= 0) {
        content.error = size == 0 ? XMLError::noXmlData : XMLError::fileNotFound;
        return content;
    }
    if (size <= INT32_MAX) {
        const size_t room = static_cast<size_t>(size) + FileContent::kEndingZeros;
        content.bytes.reset(new (std::nothrow) char[room]);
    }
    if (content.bytes == nullptr) {
        content.error = XMLError::conversionFailed;
        return content;
    }
    const ssize_t count = file.read(content.bytes.get(), static_cast<size_t>(size));
    if (count <= 0) {
        content.error = count == 0 ? XMLError::noXmlData : XMLError::fileNotFound;
        return content;
    }
    content.size = static_cast<size_t>(count);
    memset(content.bytes.get() + content.size, 0, FileContent::kEndingZeros);
    return content;
}

/// The text behind a byte order mark, when that is to be skipped.
const char* textOf(const FileContent& content) {
    constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";
    const char* const bytes = content.bytes.get();
    const bool isMarked = XMLNode::settings().skipByteOrderMark &&
                          strncmp(bytes, kByteOrderMark, strlen(kByteOrderMark)) == 0;
    return isMarked ? bytes + strlen(kByteOrderMark) : bytes;
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
    const FileContent content = readFile(path);
    if (content.error != XMLError::none) {
        support::xml::setResults(results, content.error);
        return {};
    }
    return parseString(textOf(content), tag, results);
}

XMLNode XMLNode::openDocument(const char* path, const char* tag, std::string* report) {
    const FileContent content = readFile(path);
    XMLResults results{content.error, 0, 0};
    XMLNode document;
    if (content.error == XMLError::none) {
        XMLSettings changed = settings();
        changed.encoding = detectEncoding(content.bytes.get(), content.size);
        setSettings(changed);
        document = parseString(textOf(content), tag, &results);
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
