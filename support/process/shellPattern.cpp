// regex(7), with \b of the GNU matcher: an edge of a word.
#include "support/process/shellPattern.h"

#include <regex.h>

namespace support {
namespace {

constexpr const char* kShellNames =
    "(\\b|/)(ash|bash|csh|jsh|ksh|ksh93|pfcsh|pfksh|pfsh|pfsh|rbash|rksh93|sh|tcsh|zsh|busybox|php|"
    "python.*)$";

struct CompiledPattern {
    CompiledPattern() noexcept : isUsable(regcomp(&pattern, kShellNames, REG_EXTENDED) == 0) {}

    regex_t pattern{};
    bool isUsable;
};

/// Compiled when the process starts and never freed: detached threads may outlive main().
const CompiledPattern kShells;

}  // namespace

bool isShell(const char* program) noexcept {
    return !kShells.isUsable || regexec(&kShells.pattern, program, 0, nullptr, 0) != REG_NOMATCH;
}

}  // namespace support
