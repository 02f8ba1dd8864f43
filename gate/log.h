// The lines of the gate, on standard error, where the journal takes them. No line holds a byte that
// a client chose.
#pragma once

#include <chrono>
#include <string>

#include "gate/networks.h"

namespace gate {

using Duration = std::chrono::steady_clock::duration;

/// A request and what became of it.
struct RequestLine {
    Address client;
    std::string command;
    std::string result;
    bool isTaken;  ///< the client took the whole answer
    Duration queued;
    Duration atAgent;
    Duration total;
};

/// Each writes one line at once; a line that cannot be written is dropped. Any thread.
void logRequest(const RequestLine& line);
void logText(const std::string& text);

}  // namespace gate
