#include "client/answer.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

#include "client/ask.h"
#include "client/commands.h"
#include "client/output.h"
#include "client/refusals.h"
#include "client/safeText.h"
#include "companion/answer.h"
#include "companion/request.h"
#include "support/protocol.h"

namespace client {
namespace {

// A field that the agent left out is told apart from an empty one.
bool isPresent(const XMLNode& node, const Field& field) {
    return field.kind == FieldKind::flagAttribute || !node.childNode(field.name).isEmpty();
}

std::string valueOf(const XMLNode& node, const Field& field) {
    return field.kind == FieldKind::flagAttribute ? companion::attributeText(node, field.name)
                                                  : companion::childText(node, field.name);
}

nlohmann::ordered_json jsonValue(const std::string& text, FieldKind kind) {
    if (kind == FieldKind::flag || kind == FieldKind::flagAttribute) {
        return text == "yes" || text == "true";
    }
    return kind == FieldKind::number ? numberOrText(text) : nlohmann::ordered_json(text);
}

nlohmann::ordered_json jsonObject(const XMLNode& node, std::span<const Field> fields) {
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    for (const Field& field : fields) {
        if (isPresent(node, field)) {
            object[field.name] = jsonValue(valueOf(node, field), field.kind);
        }
    }
    return object;
}

void showAsJson(const XMLNode& document, const Layout& layout) {
    nlohmann::ordered_json answer = {{protocol::kResultElement, companion::resultOf(document)}};
    answer.update(jsonObject(document, layout.facts));
    if (!layout.columns.empty()) {
        nlohmann::ordered_json items = nlohmann::ordered_json::array();
        for (const XMLNode& item : companion::itemsOf(document)) {
            items.push_back(jsonObject(item, layout.columns));
        }
        answer[protocol::kItemElement] = std::move(items);
    }
    printJson(answer, true);
}

// A refusal is told on standard error, where people see it too.
bool isRefusal(const Field& field, const std::string& value) {
    return field.name == std::string_view(protocol::kResultElement) && !companion::isSuccess(value);
}

void showFacts(const XMLNode& document, std::span<const Field> facts) {
    std::vector<Row> rows;
    for (const Field& field : facts) {
        const std::string value = valueOf(document, field);
        if (!value.empty() && !isRefusal(field, value)) {
            rows.push_back({std::string(field.label) + ":", safeText(value)});
        }
    }
    print(alignedTable(rows, false));
}

void showItems(const XMLNode& document, std::span<const Field> columns) {
    Row heading;
    for (const Field& field : columns) {
        heading.emplace_back(field.label);
    }
    std::vector<Row> rows = {heading};
    for (const XMLNode& item : companion::itemsOf(document)) {
        Row row;
        for (const Field& field : columns) {
            row.push_back(safeText(valueOf(item, field)));
        }
        rows.push_back(std::move(row));
    }
    print(rows.size() == 1 ? "" : "\n" + alignedTable(rows, isColourWanted()));
}

}  // namespace

void showAnswer(const Arguments& arguments, const XMLNode& document, const Layout& layout) {
    if (arguments.json) {
        showAsJson(document, layout);
        return;
    }
    showFacts(document, layout.facts);
    if (!layout.columns.empty()) {
        showItems(document, layout.columns);
    }
}

int judge(const Arguments& arguments, const std::string& command, const XMLNode& document) {
    const std::string result = companion::resultOf(document);
    if (companion::isSuccess(result)) {
        return exitDone;
    }
    if (result.empty()) {
        complain("the agent's answer tells no result");
        return exitFailed;
    }
    const std::string& subject = arguments.package.empty() ? arguments.user : arguments.package;
    const bool isMissing = result == protocol::kResultTexts[protocol::vexaNotFound];
    complain(Complaint{refusalText(command, result, subject), result,
                       isMissing ? suggestPackage(arguments) : ""});
    return exitRefused;
}

std::string suggestPackage(const Arguments& arguments, bool* isKnown) {
    const Answer answer =
        askDocument(connectAgent(arguments), companion::requestText(protocol::kListVexa));
    std::vector<std::string> names;
    for (const XMLNode& item : companion::itemsOf(answer.document)) {
        names.push_back(companion::childText(item, protocol::kNameElement));
    }
    if (isKnown != nullptr) {
        *isKnown = std::ranges::find(names, arguments.package) != names.end();
    }
    return nearestName(arguments.package, names);
}

int askAndShow(const Arguments& arguments, const std::string& request, const Layout& layout) {
    const Answer answer = askAgent(arguments, request);
    if (answer.reply != Reply::answered) {
        return exitFailed;
    }
    showAnswer(arguments, answer.document, layout);
    return judge(arguments, companion::commandOf(request), answer.document);
}

int runUnanswered(const Arguments& arguments, const char* command) {
    const Answer answer = askDocument(connectAgent(arguments), companion::requestText(command));
    if (answer.reply == Reply::answered) {
        return judge(arguments, command, answer.document);
    }
    if (answer.reply == Reply::failure) {
        complain(answer.error);
        return exitFailed;
    }
    if (arguments.json) {
        printJson({{"done", true}}, true);
    }
    return exitDone;
}

}  // namespace client
