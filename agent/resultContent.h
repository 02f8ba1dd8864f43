// What a command's handler leaves for the answer step.
#pragma once

#include <cstddef>
#include <string>

/// Values of resultContent_t::contentType.
enum : int {
    kNoAnswer = 0,     ///< nothing is sent; the client sees the connection close
    kTextAnswer = 1,   ///< the XML document in `text`
    kBinaryAnswer = 2  ///< `dataSize` bytes at `data`
};

struct resultContent_t {
    int contentType = kNoAnswer;
    size_t dataSize = 0;            ///< bytes at `data`
    std::string text;               ///< the answer document
    unsigned char* data = nullptr;  ///< made by calloc(3), freed when the request is done
};
