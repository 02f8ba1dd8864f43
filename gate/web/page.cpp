#include "gate/web/page.h"

#include <algorithm>

#include "gate/web/problem.h"

namespace gate {
namespace {

/// Whether the client takes `gzip` (RFC 9110, 12.5.3). "gzip;q=0" is nothing that a browser says.
bool takesGzip(const Request& request) {
    return request[http::field::accept_encoding].find("gzip") != boost::beast::string_view::npos;
}

}  // namespace

Response pageResponse(const Request& request) {
    std::string_view path(request.target().data(), request.target().size());
    path = path.substr(0, path.find('?'));
    const auto file =
        std::ranges::find_if(pageFiles(), [&](const PageFile& each) { return each.path == path; });
    if (file == pageFiles().end()) {
        return problemResponse({ProblemKind::notFound});
    }
    if (request.method() != http::verb::get && request.method() != http::verb::head) {
        return problemResponse({ProblemKind::methodNotAllowed, "", "", "GET, HEAD"});
    }
    Response response(http::status::ok, 11);
    response.set(http::field::etag, std::string(file->tag));
    response.set(http::field::vary, "Accept-Encoding");
    response.set(http::field::cache_control,
                 file->isLasting ? "public, max-age=31536000, immutable" : "no-cache");
    response.set(http::field::content_type, std::string(file->type));
    const bool isCompressed = takesGzip(request) && !file->compressed.empty();
    if (isCompressed) {
        response.set(http::field::content_encoding, "gzip");
    }
    response.body() = std::string(isCompressed ? file->compressed : file->content);
    return response;
}

}  // namespace gate
