// Asking the agent for a document and showing it: the road of every subcommand that is one command
// of the protocol.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "client/arguments.h"
#include "socketcpp/Socket.h"
#include "support/xmlParser.h"

namespace client {

enum class fieldKind_t { text, number, flag, flagAttribute };

/// A field of an answer: its element (or attribute), the key in JSON, and its heading for people.
struct field_t {
    const char* name;
    const char* label;
    fieldKind_t kind = fieldKind_t::text;
};

/// What of an answer is shown: fields of the document itself, and columns of its `item` list.
struct layout_t {
    std::span<const field_t> facts;
    std::span<const field_t> columns = {};
};

/// Sends `request` over `socket` (null: `error` tells already why) and receives the document.
/// Returns false, with the reason in `error`, when no answer document comes. `silent` is set when
/// the agent closed the connection without an answer.
bool askDocument(std::unique_ptr<corex::Socket> socket, const std::string& request,
                 XMLNode& document, bool& silent, std::string& error);

/// The same over the agent's TCP port, with a complaint for each failure. Returns an exitStatus_t:
/// exitDone when `document` holds an answer, be it a refusal.
int askAgent(const arguments_t& arguments, const std::string& request, XMLNode& document);

/// Shows `document` by `layout` as tables or JSON. A refusal (its `errRtn`) is told on standard
/// error. Returns exitDone or exitRefused.
int showAnswer(const arguments_t& arguments, const XMLNode& document, const layout_t& layout);

/// Tells of a refusal in `document` on standard error; returns exitDone or exitRefused.
int judge(const XMLNode& document);

/// askAgent, then showAnswer.
int askAndShow(const arguments_t& arguments, const std::string& request, const layout_t& layout);

/// Sends a command that the agent never answers and waits until it closes the connection.
int runUnanswered(const arguments_t& arguments, const char* command);

}  // namespace client
