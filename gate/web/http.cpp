#include "gate/web/http.h"

#include <openssl/evp.h>

#include <array>
#include <nlohmann/json.hpp>

namespace gate {

Response jsonResponse(http::status status, const nlohmann::ordered_json& document,
                      const char* type) {
    Response response(status, 11);
    response.set(http::field::content_type, type);
    response.set(http::field::cache_control, "no-store");
    // A text of the agent that is no UTF-8 must not stop the answer.
    response.body() =
        document.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    return response;
}

Response emptyResponse() {
    Response response(http::status::no_content, 11);
    response.set(http::field::cache_control, "no-store");
    return response;
}

void complete(Response& response, const Request& request, bool isStrict) {
    response.version(request.version() == 10 ? 10 : 11);
    response.set("Content-Security-Policy",
                 "default-src 'self'; base-uri 'none'; form-action 'self'; frame-ancestors 'none'");
    response.set("X-Content-Type-Options", "nosniff");
    response.set("Referrer-Policy", "no-referrer");
    response.set("Cross-Origin-Resource-Policy", "same-origin");
    if (isStrict) {
        response.set(http::field::strict_transport_security, "max-age=31536000");
    }
    response.keep_alive(request.keep_alive());
    if (response.result() != http::status::no_content &&
        response.result() != http::status::not_modified) {
        response.content_length(response.body().size());
    }
    if (request.method() == http::verb::head) {
        response.body().clear();
    }
}

bool hasAlready(const Request& request, const std::string& tag) {
    const auto known = request[http::field::if_none_match];
    return known == "*" || known.find(tag) != boost::beast::string_view::npos;
}

std::string tagOf(const std::string& content) {
    constexpr size_t kBytes = 12;
    constexpr const char* kDigits = "0123456789abcdef";
    std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
    EVP_Digest(content.data(), content.size(), hash.data(), nullptr, EVP_sha256(), nullptr);
    std::string tag = "\"";
    for (size_t byte = 0; byte < kBytes; ++byte) {
        tag += kDigits[hash[byte] >> 4];
        tag += kDigits[hash[byte] & 15];
    }
    return tag + "\"";
}

}  // namespace gate
