// The commands of `kallogate` that a running gate answers: asking it, and telling people the
// answer.
#pragma once

#include <string>

namespace gate {

/// How the commands reach the gate and what they print.
struct ControlOptions {
    std::string socket;
    bool asJson = false;
};

/// Each asks the gate and writes its answer to standard output, as JSON or for people. All throw
/// std::runtime_error, a line for people, when no gate answers or the answer is an error.
void printStatus(const ControlOptions& options);
/// `name`: of the device to come; "" leaves it to the gate. People get a QR code too.
void printPairing(const ControlOptions& options, const std::string& name);
void printDevices(const ControlOptions& options);
void revokeDevice(const ControlOptions& options, const std::string& id);

}  // namespace gate
