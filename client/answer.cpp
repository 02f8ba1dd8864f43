#include "client/answer.h"

#include <cstring>
#include <nlohmann/json.hpp>
#include <utility>

#include "client/commands.h"
#include "client/connection.h"
#include "client/conversation.h"
#include "client/output.h"
#include "client/protocol.h"
#include "client/safeText.h"

namespace client {
namespace {

constexpr const char* itemElement = "item";
constexpr const char* resultElement = "errRtn";

// A field that the agent left out is told apart from an empty one.
bool isPresent(const XMLNode& node, const field_t& field) {
    return field.kind == fieldKind_t::flagAttribute || !node.childNode(field.name).isEmpty();
}

std::string valueOf(const XMLNode& node, const field_t& field) {
    return field.kind == fieldKind_t::flagAttribute ? attributeText(node, field.name)
                                                    : childText(node, field.name);
}

nlohmann::ordered_json jsonValue(const std::string& text, fieldKind_t kind) {
    if (kind == fieldKind_t::flag || kind == fieldKind_t::flagAttribute) {
        return text == "yes" || text == "true";
    }
    return kind == fieldKind_t::number ? numberOrText(text) : nlohmann::ordered_json(text);
}

nlohmann::ordered_json jsonObject(const XMLNode& node, std::span<const field_t> fields) {
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    for (const field_t& field : fields) {
        if (isPresent(node, field)) {
            object[field.name] = jsonValue(valueOf(node, field), field.kind);
        }
    }
    return object;
}

void showAsJson(const XMLNode& document, const layout_t& layout) {
    nlohmann::ordered_json answer = {{resultElement, childText(document, resultElement)}};
    answer.update(jsonObject(document, layout.facts));
    if (!layout.columns.empty()) {
        nlohmann::ordered_json items = nlohmann::ordered_json::array();
        const int count = document.childCount(itemElement);
        int next = 0;
        for (int i = 0; i < count; ++i) {
            items.push_back(jsonObject(document.childNode(itemElement, &next), layout.columns));
        }
        answer[itemElement] = std::move(items);
    }
    printJson(answer, true);
}

// A refusal is told on standard error, where people see it too.
bool isRefusal(const field_t& field, const std::string& value) {
    return strcmp(field.name, resultElement) == 0 && !isSuccess(value);
}

void showFacts(const XMLNode& document, std::span<const field_t> facts) {
    std::vector<row_t> rows;
    for (const field_t& field : facts) {
        const std::string value = valueOf(document, field);
        if (!value.empty() && !isRefusal(field, value)) {
            rows.push_back({std::string(field.label) + ":", safeText(value)});
        }
    }
    print(alignedTable(rows, false));
}

void showItems(const XMLNode& document, std::span<const field_t> columns) {
    row_t heading;
    for (const field_t& field : columns) {
        heading.emplace_back(field.label);
    }
    std::vector<row_t> rows = {heading};
    const int count = document.childCount(itemElement);
    int next = 0;
    for (int i = 0; i < count; ++i) {
        const XMLNode item = document.childNode(itemElement, &next);
        row_t row;
        for (const field_t& field : columns) {
            row.push_back(safeText(valueOf(item, field)));
        }
        rows.push_back(std::move(row));
    }
    print(count == 0 ? "" : "\n" + alignedTable(rows, isColourWanted()));
}

}  // namespace

bool askDocument(std::unique_ptr<corex::Socket> socket, const std::string& request,
                 XMLNode& document, bool& silent, std::string& error) {
    silent = false;
    if (socket == nullptr) {
        return false;
    }
    Conversation conversation(std::move(socket));
    const reply_t reply = conversation.ask(request);
    if (reply == reply_t::silence) {
        silent = true;
        error = "the agent closed the connection without an answer";
        return false;
    }
    std::string payload;
    if (reply == reply_t::failure || !conversation.receive(payload)) {
        error = conversation.error();
        return false;
    }
    document = parseAnswer(payload);
    if (document.isEmpty()) {
        error = "the agent's answer is no ZelvDocRoot document";
        return false;
    }
    return true;
}

int askAgent(const arguments_t& arguments, const std::string& request, XMLNode& document) {
    if (request.size() > requestLimit) {
        complain("the request has " + std::to_string(request.size()) + " bytes; the agent reads " +
                 std::to_string(requestLimit) + " at most");
        return exitUsage;
    }
    std::string error;
    bool silent = false;
    if (!askDocument(connectAgent(arguments, error), request, document, silent, error)) {
        complain(error);
        return exitFailed;
    }
    return exitDone;
}

int judge(const XMLNode& document) {
    const std::string result = childText(document, resultElement);
    if (isSuccess(result)) {
        return exitDone;
    }
    complain(result.empty() ? "the agent's answer tells no result" : result);
    return result.empty() ? exitFailed : exitRefused;
}

int showAnswer(const arguments_t& arguments, const XMLNode& document, const layout_t& layout) {
    if (arguments.json) {
        showAsJson(document, layout);
    } else {
        showFacts(document, layout.facts);
        if (!layout.columns.empty()) {
            showItems(document, layout.columns);
        }
    }
    return judge(document);
}

int askAndShow(const arguments_t& arguments, const std::string& request, const layout_t& layout) {
    XMLNode document;
    const int status = askAgent(arguments, request, document);
    return status == exitDone ? showAnswer(arguments, document, layout) : status;
}

int runUnanswered(const arguments_t& arguments, const char* command) {
    std::string error;
    XMLNode document;
    bool silent = false;
    if (askDocument(connectAgent(arguments, error), requestText(command), document, silent,
                    error)) {
        return judge(document);
    }
    if (!silent) {
        complain(error);
        return exitFailed;
    }
    if (arguments.json) {
        printJson({{"done", true}}, true);
    }
    return exitDone;
}

}  // namespace client
