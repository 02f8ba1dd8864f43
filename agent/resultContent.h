// What a command's handler leaves for the answer step.
#pragma once

#include <cstddef>
#include <string>

/// Values of resultContent_t::contentType.
enum ContentType : int {
    noAnswer = 0,     ///< nothing is sent; the client sees the connection close
    textAnswer = 1,   ///< the XML document in `text`
    binaryAnswer = 2  ///< `dataSize` bytes at `data`
};

struct resultContent_t {
    int contentType = noAnswer;
    size_t dataSize = 0;            ///< bytes at `data`
    std::string text;               ///< the answer document
    unsigned char* data = nullptr;  ///< made by calloc(3), freed when the request is done
};
