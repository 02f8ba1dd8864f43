// The tokens of a command vector: which of its words part stages and which asks for the background.
#pragma once

namespace support {

/// What a command vector asks for, once cut at its tokens.
struct CutVector {
    char** command;     ///< the last stage, null-terminated; its element 0 is null if it is empty
    bool isPipeline;    ///< the stages left of it stand at the start of the vector, ended by "&"
    bool isBackground;  ///< the vector had an "&"
};

/// Cuts `argv` in place. Its first "&" becomes the terminating null pointer, so words behind it are
/// never looked at; its last "|" becomes "&", so that what stands left of it is in turn a vector
/// that runs in the background. Only words that are exactly "|" or "&" count. Async-signal-safe.
CutVector cutVector(char** argv) noexcept;

/// True when `argv` (may be null) is one command, without a "|", that runs in the background.
/// Changes nothing.
bool isSingleInBackground(const char* const* argv) noexcept;

}  // namespace support
