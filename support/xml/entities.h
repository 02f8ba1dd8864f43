// Character entities, both ways. Internal to the XML library.
#pragma once

#include <cstddef>
#include <cstdint>

#include "support/xmlParser.h"

namespace support::xml {

/// Decodes the `length` bytes at `text`, which are in `encoding`, in place and sets `length` to the
/// bytes that are left: a decoded text is never longer. On failure returns unknownEntity or
/// characterAbove255 and sets
/// `*errorAt` to the entity, whose bytes are still as they were.
XMLError decodeEntities(char* text, uint32_t& length, XMLEncoding encoding, const char** errorAt);

/// Bytes of the text once its markup characters are escaped.
size_t escapedLength(const char* text, size_t length);

/// Writes the escaped text to `output` and returns the position behind it.
char* writeEscaped(char* output, const char* text, size_t length);

}  // namespace support::xml
