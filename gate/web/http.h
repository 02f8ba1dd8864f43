// Requests and answers of browsers, and what every answer has in common.
#pragma once

#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace gate {

namespace http = boost::beast::http;
using Request = http::request<http::string_body>;
using Response = http::response<http::string_body>;

/// The most bytes that a request may have, its head and its body apart.
inline constexpr uint32_t kRequestHeadLimit = 16384;
inline constexpr uint64_t kRequestBodyLimit = 4096;

/// Answers of which no cache keeps a copy. Any thread.
Response jsonResponse(http::status status, const nlohmann::ordered_json& document,
                      const char* type = "application/json");
Response emptyResponse();

/// Puts into an answer what each has: protection against what another page could do with it, its
/// length, and whether the connection stays. `isStrict`: browsers shall never come without TLS.
void complete(Response& response, const Request& request, bool isStrict);

/// Whether the client has what `tag` (an ETag) stands for already (RFC 9110, 13.1.2).
bool hasAlready(const Request& request, const std::string& tag);

/// The ETag of a content: a hash of it, in quotes.
std::string tagOf(const std::string& content);

}  // namespace gate
