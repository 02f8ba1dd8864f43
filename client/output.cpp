#include "client/output.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>

#include "client/safeText.h"
#include "support/protocol.h"

namespace client {
namespace {

constexpr const char* kEmphasis = "\033[1m";
constexpr const char* kPlain = "\033[m";
constexpr size_t kColumnGap = 2;

bool isComplaintJson = false;

std::string jsonText(const nlohmann::ordered_json& value, bool indented) {
    constexpr bool kOnlyAscii = true;
    return value.dump(indented ? 2 : -1, ' ', kOnlyAscii,
                      nlohmann::ordered_json::error_handler_t::replace);
}

std::vector<size_t> columnWidths(const std::vector<Row>& rows) {
    std::vector<size_t> widths;
    for (const Row& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], displayWidth(row[i]));
        }
    }
    return widths;
}

std::string alignedLine(const Row& row, const std::vector<size_t>& widths) {
    std::string line;
    size_t owed = 0;  // blanks that only a further cell makes necessary
    for (size_t i = 0; i < row.size(); ++i) {
        if (!row[i].empty()) {
            line.append(owed, ' ');
            line += row[i];
            owed = 0;
        }
        owed += widths[i] - displayWidth(row[i]) + kColumnGap;
    }
    return line;
}

}  // namespace

std::string alignedTable(const std::vector<Row>& rows, bool colour) {
    const std::vector<size_t> widths = columnWidths(rows);
    std::string table;
    for (const Row& row : rows) {
        const bool emphasised = colour && &row == &rows.front();
        table += emphasised ? kEmphasis : "";
        table += alignedLine(row, widths);
        table += emphasised ? kPlain : "";
        table += '\n';
    }
    return table;
}

bool isColourWanted() {
    const char* const forbidden = getenv("NO_COLOR");
    return isatty(STDOUT_FILENO) == 1 && (forbidden == nullptr || *forbidden == '\0');
}

void print(std::string_view text) {
    fwrite(text.data(), 1, text.size(), stdout);
}

void printForeign(std::string_view text) {
    if (isatty(STDOUT_FILENO) == 1) {
        print(safeText(text, Controls::lineFeedAndTab));
    } else {
        print(text);
    }
}

void printJson(const nlohmann::ordered_json& value, bool indented) {
    print(jsonText(value, indented) + "\n");
}

nlohmann::ordered_json numberOrText(const std::string& text) {
    int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, code] = std::from_chars(text.data(), end, number);
    if (code == std::errc() && stop == end) {
        return number;
    }
    return text;
}

bool finishOutput() {
    if (fflush(stdout) == 0 && ferror(stdout) == 0) {
        return true;
    }
    complain(std::string("cannot write to standard output: ") + strerror(errno));
    return false;
}

void complainInJson() {
    isComplaintJson = true;
}

void complain(const Complaint& complaint) {
    const auto& [text, result, suggestion] = complaint;
    if (isComplaintJson) {
        nlohmann::ordered_json value = {{"error", text}};
        result.empty() ? void() : value.push_back({protocol::kResultElement, result});
        suggestion.empty() ? void() : value.push_back({"suggestion", suggestion});
        fprintf(stderr, "%s\n", jsonText(value, false).c_str());
        return;
    }
    std::string line = text;
    line += result.empty() ? "" : " (" + result + ")";
    line += suggestion.empty() ? "" : "; did you mean " + suggestion + "?";
    fprintf(stderr, "kalloctl: %s\n", safeText(line).c_str());
}

void complain(std::string_view text) {
    complain(Complaint{std::string(text)});
}

}  // namespace client
