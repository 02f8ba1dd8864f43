// The files of the page, compiled into the program.
#pragma once

#include <span>
#include <string_view>

#include "gate/web/http.h"

namespace gate {

struct PageFile {
    std::string_view path;  ///< of its address
    std::string_view type;
    std::string_view tag;  ///< ETag: a hash of the content
    bool isLasting;        ///< its address changes with its content
    std::string_view content;
    std::string_view compressed;  ///< by gzip; empty where that gains nothing
};

/// All of them; made at build time from remote/ (cmake/EmbedPage.cmake).
std::span<const PageFile> pageFiles();

/// The answer to a request for a file of the page. Any thread.
Response pageResponse(const Request& request);

}  // namespace gate
