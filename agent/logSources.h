// Where the agent's log lines say that they come from: a source file, a line and a function. Every
// line of the agent is written with one of these.
#pragma once

#include "support/logLine.h"

namespace logSources {

inline constexpr const char* kFile = "kalloagent";

/// The calling line of `function`, given as the signature that log filters know.
constexpr support::LogSource here(const char* function, int line = __builtin_LINE()) noexcept {
    return {kFile, line, function};
}

inline constexpr const char* kListFunction = "void CKalloAgent::getVEXAList(resultContent_t&)";
inline constexpr const char* kLoginFunction =
    "void CKalloAgent::login(const unsigned char*, const unsigned char*, resultContent_t&)";
inline constexpr const char* kLogin2Function =
    "void CKalloAgent::loginWithoutAES(const unsigned char*, const unsigned char*, "
    "resultContent_t&)";

// Log filters know these lines by their numbers, so each keeps its number wherever its call stands.

inline constexpr support::LogSource kActiveWindow{kFile, 96, "unsigned int get_active_win_id()"};
inline constexpr support::LogSource kSessionEnvironment{
    kFile, 338, "bool CKalloAgent::getKALLOPrivateEnv(std::vector<exportEnv_s>&)"};
inline constexpr support::LogSource kForAdministrators{kFile, 484, kListFunction};
inline constexpr support::LogSource kDisabled{kFile, 489, kListFunction};
inline constexpr support::LogSource kLoginUser{kFile, 645, kLoginFunction};
inline constexpr support::LogSource kLoginPassword{kFile, 661, kLoginFunction};
inline constexpr support::LogSource kLogin2User{kFile, 730, kLogin2Function};
inline constexpr support::LogSource kLogin2Password{kFile, 740, kLogin2Function};
inline constexpr support::LogSource kScratchWrite{kFile, 760, kLogin2Function};
inline constexpr support::LogSource kScratchEncoder{kFile, 769, kLogin2Function};
inline constexpr support::LogSource kLogout{kFile, 814, "void CKalloAgent::logout()"};
inline constexpr support::LogSource kWorkspace{kFile, 1244,
                                               "bool CKalloAgent::isMultiWinWorkspace_()"};

/// The line of a `call` ("fread") on a tool or a file that gave nothing.
inline void logFailed(const support::LogSource& source, const char* call) noexcept {
    support::logLine(support::Colour::none, source, "%s() ... fail\n", call);
}

}  // namespace logSources
