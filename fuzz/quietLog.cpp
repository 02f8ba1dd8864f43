// The log in the fuzz targets whose code under test logs: every line is made, so that its format
// is at work, and then dropped. Linked in place of support/logLine.cpp.
#include "support/logLine.h"

#include <cstdarg>
#include <cstdio>

namespace {

[[gnu::format(printf, 1, 0)]] void makeAndDrop(const char* format, va_list arguments) {
    static char line[8192];
    vsnprintf(line, sizeof line, format, arguments);
}

}  // namespace

namespace support {

void logLine(Colour /*colour*/, const LogSource& /*source*/, const char* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    makeAndDrop(format, arguments);
    va_end(arguments);
}

void printError(const char* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    makeAndDrop(format, arguments);
    va_end(arguments);
}

void printOut(const char* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    makeAndDrop(format, arguments);
    va_end(arguments);
}

}  // namespace support
