// What went wrong, as browsers are told it: a problem document (RFC 9457).
#pragma once

#include <string>

#include "gate/web/http.h"

namespace gate {

/// In the order of the table in problem.cpp.
enum class ProblemKind {
    badRequest,
    wrongType,
    tooLarge,
    notPaired,
    unknownHost,
    foreignOrigin,
    wrongCode,
    notFound,
    methodNotAllowed,
    packageNotFound,
    noIcon,
    noPermission,
    runsAlready,
    nobodyLoggedIn,
    somebodyAtTelevision,
    loginRefused,
    tooManyAttempts,
    tooManyStreams,
    cannotPair,
    agentGone
};

struct Problem {
    ProblemKind kind;
    std::string detail{};   ///< what to do about it; empty when the title says all
    std::string result{};   ///< the text by which the agent told it, if it did
    std::string allowed{};  ///< the method that can be used instead
};

/// The answer that tells `problem`. Any thread.
Response problemResponse(const Problem& problem);

}  // namespace gate
