// Showing what the agent answered: tables for people, JSON for machines, a refusal as a complaint.
#pragma once

#include <span>
#include <string>

#include "client/arguments.h"
#include "support/xmlParser.h"

namespace client {

enum class FieldKind { text, number, flag, flagAttribute };

/// A field of an answer: its element (or attribute), the key in JSON, and its heading for people.
struct Field {
    const char* name;
    const char* label;
    FieldKind kind = FieldKind::text;
};

/// What of an answer is shown: fields of the document itself, and columns of its `item` list.
struct Layout {
    std::span<const Field> facts;
    std::span<const Field> columns{};
};

/// Shows `document` by `layout` as tables or JSON. A refusal (its `errRtn`) is told on standard
/// error. Returns exitDone or exitRefused.
int showAnswer(const Arguments& arguments, const XMLNode& document, const Layout& layout);

/// Tells of a refusal in `document` on standard error; returns exitDone or exitRefused.
int judge(const XMLNode& document);

/// Asks the agent (see client/ask.h) and shows its answer. Returns an ExitStatus.
int askAndShow(const Arguments& arguments, const std::string& request, const Layout& layout);

/// Sends a command that the agent never answers and waits until it closes the connection.
int runUnanswered(const Arguments& arguments, const char* command);

}  // namespace client
