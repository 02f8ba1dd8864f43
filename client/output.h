// Everything kalloctl prints: complaints on standard error; on standard output lines and tables
// for people, JSON for machines.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace client {

using Row = std::vector<std::string>;

/// `rows` as lines with aligned columns, two blanks apart, no blanks at a line's end; cells are
/// measured as they show on a terminal. The first row is the heading, emphasised if `colour`.
std::string alignedTable(const std::vector<Row>& rows, bool colour);

/// Whether standard output is a terminal and the user does not forbid colour (NO_COLOR set to
/// anything but the empty text, as no-color.org has it).
bool isColourWanted();

/// Writes `text` to standard output as it is; failures show in finishOutput.
void print(std::string_view text);
/// Like print, with what could steer a terminal made harmless when standard output is one.
void printForeign(std::string_view text);
/// One JSON value on a line of its own, or indented when `indented`; all ASCII, bytes that are no
/// UTF-8 replaced by U+FFFD.
void printJson(const nlohmann::ordered_json& value, bool indented);
/// A decimal number where `text` is one, else the text.
nlohmann::ordered_json numberOrText(const std::string& text);
/// Hands everything printed so far to the system; false, after a complaint, when it did not take
/// it.
bool finishOutput();

/// What went wrong. The last two are empty where there is none.
struct Complaint {
    std::string text;
    std::string result{};      ///< the agent's word for it
    std::string suggestion{};  ///< what was perhaps meant
};

/// From now on complaints are JSON: one object on a line, "error" and, where there are any,
/// "errRtn" and "suggestion".
void complainInJson();

/// Tells of a complaint on standard error, as "kalloctl: " and a line that is made harmless, or as
/// JSON.
void complain(const Complaint& complaint);
void complain(std::string_view text);

}  // namespace client
