#include "gate/log.h"

#include <cstdio>

namespace gate {
namespace {

double milliseconds(Duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

}  // namespace

void logRequest(const RequestLine& line) {
    fprintf(stderr, "%s %s: %s%s; %.1f ms queued, %.1f ms at the agent, %.1f ms in all\n",
            line.client.to_string().c_str(), line.command.c_str(), line.result.c_str(),
            line.isTaken ? "" : ", not taken", milliseconds(line.queued),
            milliseconds(line.atAgent), milliseconds(line.total));
}

void logText(const std::string& text) {
    fprintf(stderr, "%s\n", text.c_str());
}

}  // namespace gate
