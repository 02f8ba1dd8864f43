#include "gate/web/problem.h"

#include <nlohmann/json.hpp>

namespace gate {
namespace {

struct Row {
    const char* name;  ///< the end of its type
    unsigned status;
    const char* title;
    const char* retryAfter = nullptr;  ///< seconds
};

/// In the order of ProblemKind.
constexpr Row kRows[] = {
    {"bad-request", 400, "The request is not understood"},
    {"wrong-type", 415, "The body has to be application/json"},
    {"too-large", 413, "The request is too large"},
    {"not-paired", 401, "This device is not paired"},
    {"unknown-host", 421, "The server is not known by this name"},
    {"foreign-origin", 403, "The request comes from another site"},
    {"wrong-code", 403, "The code is wrong or no longer valid"},
    {"not-found", 404, "There is nothing of that name"},
    {"method-not-allowed", 405, "The call takes another method"},
    {"package-not-found", 404, "There is no such package"},
    {"no-icon", 404, "The package has no such icon"},
    {"no-permission", 403, "The package is for administrators"},
    {"runs-already", 409, "The package runs already"},
    {"nobody-logged-in", 409, "Nobody is logged in at the television"},
    {"somebody-at-television", 409, "Somebody is at the television already"},
    {"login-refused", 403, "User or password is wrong"},
    {"too-many-attempts", 429, "Too many log-ins have failed", "60"},
    {"too-many-streams", 429, "This device has too many streams open", "30"},
    {"cannot-pair", 503, "No further device can be paired"},
    {"agent-gone", 503, "The television does not answer", "1"},
};

}  // namespace

Response problemResponse(const Problem& problem) {
    const Row& row = kRows[static_cast<size_t>(problem.kind)];
    nlohmann::ordered_json document = {{"type", std::string("urn:kallogate:problem:") + row.name},
                                       {"title", row.title},
                                       {"status", row.status}};
    if (!problem.detail.empty()) {
        document["detail"] = problem.detail;
    }
    if (!problem.result.empty()) {
        document["result"] = problem.result;
    }
    Response response =
        jsonResponse(http::int_to_status(row.status), document, "application/problem+json");
    if (!problem.allowed.empty()) {
        response.set(http::field::allow, problem.allowed);
    }
    if (row.retryAfter != nullptr) {
        response.set(http::field::retry_after, row.retryAfter);
    }
    return response;
}

}  // namespace gate
