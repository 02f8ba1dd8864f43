#include "support/process/vector.h"

#include <cstring>

namespace support {
namespace {

char backgroundWord[] = "&";

bool isBackgroundWord(const char* word) noexcept {
    return strcmp(word, "&") == 0;
}

bool isPipeWord(const char* word) noexcept {
    return strcmp(word, "|") == 0;
}

}  // namespace

CutVector cutVector(char** argv) noexcept {
    CutVector cut{argv, false, false};
    char** lastPipe = nullptr;
    for (char** word = argv; *word != nullptr; ++word) {
        if (isBackgroundWord(*word)) {
            *word = nullptr;
            cut.isBackground = true;
            break;
        }
        if (isPipeWord(*word)) {
            lastPipe = word;
        }
    }
    if (lastPipe != nullptr) {
        *lastPipe = backgroundWord;
        cut.command = lastPipe + 1;
        cut.isPipeline = true;
    }
    return cut;
}

bool isSingleInBackground(const char* const* argv) noexcept {
    for (; argv != nullptr && *argv != nullptr; ++argv) {
        if (isPipeWord(*argv)) {
            return false;
        }
        if (isBackgroundWord(*argv)) {
            return true;
        }
    }
    return false;
}

}  // namespace support
