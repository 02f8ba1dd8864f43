// What every fuzz target has: its entry, which the fuzzer or replay.cpp calls once an input, and
// ways to cut an input in parts. An input that breaks a promise of the code under test fails an
// assertion of the target.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Runs one input. Returns 0 (libFuzzer's "take it into the corpus if it covers anything new").
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace fuzz {

/// The whole input; never a null pointer, which C functions do not take, even for no bytes.
inline std::string_view textOf(const uint8_t* data, size_t size) {
    return size == 0 ? "" : std::string_view(reinterpret_cast<const char*>(data), size);
}

/// Takes the part up to `separator` off the front of `rest`; without a separator, all of it.
inline std::string_view takePart(std::string_view& rest, std::string_view separator) {
    const size_t end = rest.find(separator);
    const std::string_view part = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + separator.size());
    return part;
}

inline std::string_view takeLine(std::string_view& rest) {
    return takePart(rest, "\n");
}

/// The text as C functions see it: up to its first NUL byte.
inline std::string upToNul(std::string_view text) {
    return std::string(text.substr(0, text.find('\0')));
}

}  // namespace fuzz
