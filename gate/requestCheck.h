// From the bytes of a client to a request for the agent: one table says what a request may hold.
// Whatever is sound is written anew from the values found; nothing else of the bytes goes on.
#pragma once

#include <string>
#include <string_view>

namespace gate {

/// A row of the table of commands.
struct Command {
    enum class Values { none, anything, package, icon, enciphered, plain };
    enum class Unsound { nothing, notFound, noIcon, loginFail };

    const char* name;
    Values values = Values::none;
    Unsound unsound = Unsound::nothing;  ///< what a client is told whose values are not sound
    bool isShared = false;  ///< equal requests that wait are answered by one conversation
    bool isSlow = false;    ///< may stop packages before it answers

    bool isLogin() const noexcept { return unsound == Unsound::loginFail; }
};

/// What becomes of a request.
struct CheckedRequest {
    enum class Verdict {
        sound,   ///< `text` goes to the agent
        silent,  ///< the connection is closed without a byte, as the agent does
        noIcon,  ///< an announced size of 0
        refused  ///< a document with `result`
    };

    Verdict verdict = Verdict::silent;
    std::string text{};                ///< one line of XML, in UTF-8
    const char* result = "";           ///< one of the texts in support/protocol.h
    const Command* command = nullptr;  ///< null when there is none of that name
};

/// Checks the bytes of a client, at most protocol::kRequestLimit. Any thread.
CheckedRequest checkRequest(std::string_view bytes);

/// Whether the root element of a request has ended in `bytes`, so that nothing more is to come.
bool isWholeRequest(std::string_view bytes) noexcept;

/// A request that every agent answers with invalid_command, in its own envelope.
std::string unknownCommandRequest();

}  // namespace gate
