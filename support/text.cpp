#include "support/text.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr size_t kSkipChunk = 1024;
constexpr size_t kLineChunk = 4096;

/// What a thread's last read_long_line returned; freed with the thread.
struct LongLine {
    LongLine() = default;
    ~LongLine() { free(heap); }
    LongLine(const LongLine&) = delete;
    LongLine& operator=(const LongLine&) = delete;

    char buffer[kLineChunk]{};
    char* heap = nullptr;
};

thread_local LongLine longLine;

}  // namespace

void trim_whitespace(char* str) {
    constexpr const char* kWhitespace = "\t\n\r ";
    const char* start = str + strspn(str, kWhitespace);
    size_t length = strlen(start);
    while (length > 0 && strchr(kWhitespace, start[length - 1]) != nullptr) {
        --length;
    }
    memmove(str, start, length);
    str[length] = '\0';
}

char* rtrim_blanks(char* str) {
    size_t length = strlen(str);
    while (length > 0 && (str[length - 1] == ' ' || str[length - 1] == '\t')) {
        --length;
    }
    str[length] = '\0';
    return str;
}

char* skip_blanks(char* str) {
    return str + strspn(str, " \t");
}

int ends_with_newline(const char* str) {
    const size_t length = strlen(str);
    return length > 0 && str[length - 1] == '\n' ? 1 : 0;
}

int chomp_line(char* str) {
    size_t length = strlen(str);
    if (length == 0 || str[length - 1] != '\n') {
        return 0;
    }
    str[--length] = '\0';
    if (length > 0 && str[length - 1] == '\r') {
        str[length - 1] = '\0';
    }
    return 1;
}

char* concat_alloc(const char* a, const char* b) {
    auto* both = static_cast<char*>(malloc(strlen(a) + strlen(b) + 1));
    if (both != nullptr) {
        strcpy(stpcpy(both, a), b);
    }
    return both;
}

void skip_rest_of_line(FILE* stream) {
    char chunk[kSkipChunk];
    while (fgets(chunk, sizeof chunk, stream) != nullptr) {
        if (ends_with_newline(chunk) != 0) {
            return;
        }
    }
}

char* read_long_line(FILE* stream) {
    LongLine& line = longLine;
    free(line.heap);
    line.heap = nullptr;
    if (fgets(line.buffer, kLineChunk, stream) == nullptr) {
        return nullptr;
    }
    if (chomp_line(line.buffer) != 0) {
        return line.buffer;
    }
    line.heap = strdup(line.buffer);
    if (line.heap == nullptr) {
        skip_rest_of_line(stream);
        return line.buffer;
    }
    while (fgets(line.buffer, kLineChunk, stream) != nullptr) {
        char* longer = concat_alloc(line.heap, line.buffer);
        if (longer == nullptr) {
            skip_rest_of_line(stream);
            break;
        }
        free(line.heap);
        line.heap = longer;
        // On the whole line, so that a CR LF cut in two by the chunks goes as one.
        if (chomp_line(line.heap) != 0) {
            break;
        }
    }
    return line.heap;
}
