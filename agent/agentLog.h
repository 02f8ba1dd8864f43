// The agent's own log lines, which all name the source "kalloagent".
#pragma once

#include "support/logLine.h"

namespace agentLog {

using support::Colour;

/// Source of a line of the agent. `function` is the signature that log filters know.
constexpr support::LogSource at(int line, const char* function) noexcept {
    return {"kalloagent", line, function};
}

/// The line of a tool or file that gave nothing to read.
inline void readFailed(int line, const char* function) noexcept {
    support::logLine(Colour::none, at(line, function), "fread() ... fail\n");
}

}  // namespace agentLog
