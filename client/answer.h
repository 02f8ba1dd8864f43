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

/// Shows an answer by `layout` on standard output, as tables or JSON.
void showAnswer(const Arguments& arguments, const XMLNode& document, const Layout& layout);

/// Tells of a refusal (its `errRtn`) in `document`, the answer to `command`, on standard error; a
/// package that is not found is looked for among those that there are. Returns exitDone,
/// exitRefused, or exitFailed for an answer without a result.
int judge(const Arguments& arguments, const std::string& command, const XMLNode& document);

/// The name of a package that is much like that of the command line, and is one of the agent's;
/// empty when there is none. `isKnown`, unless null, receives whether the very name is.
std::string suggestPackage(const Arguments& arguments, bool* isKnown = nullptr);

/// Asks the agent (see client/ask.h), shows its answer by `layout` as tables or JSON, and judges
/// it. Returns an ExitStatus.
int askAndShow(const Arguments& arguments, const std::string& request, const Layout& layout);

/// Sends a command that the agent never answers and waits until it closes the connection.
int runUnanswered(const Arguments& arguments, const char* command);

}  // namespace client
