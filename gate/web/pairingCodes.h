// One-time codes by which a phone is paired: short enough to be typed, gone before they are
// guessed.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace gate {

/// Belongs to one thread. Times are passed in, none before that of an earlier call.
class PairingCodes final {
  public:
    using Time = std::chrono::steady_clock::time_point;

    static constexpr std::chrono::seconds kValid{300};
    static constexpr size_t kMost = 8;         ///< open at once
    static constexpr unsigned kMostWrong = 6;  ///< wrong codes that end every code open meanwhile

    /// Opens a code for a device of that name ("": none was given) and returns it: eight characters
    /// of 0-9 and A-Z without I, L, O and U, 40 random bits. It ends the oldest when kMost are
    /// open. Throws std::runtime_error without random bytes.
    std::string open(const std::string& name, Time now);

    /// Uses up the code that somebody typed and returns its device's name; nothing when no such
    /// code is open. Small letters, blanks and hyphens are taken, I and L as 1, O as 0.
    std::optional<std::string> take(std::string_view typed, Time now);

  private:
    struct Code {
        std::string text;
        std::string name;
        Time end;
        unsigned wrong = 0;  ///< codes typed while it was open
    };

    void forget_(Time now);

    std::vector<Code> m_codes;  ///< oldest first
};

}  // namespace gate
