#include "client/refusals.h"

#include <algorithm>
#include <cctype>
#include <numeric>

#include "support/protocol.h"

namespace client {
namespace {

constexpr std::string_view kAny;
constexpr std::string_view kSubject = "{}";

struct Refusal {
    std::string_view command;
    std::string_view result;
    std::string_view sentence;
};

constexpr std::string_view resultText(protocol::ResultCode code) {
    return protocol::kResultTexts[code];
}

/// The first row that fits counts.
constexpr Refusal kRefusals[] = {
    {protocol::kLaunch, resultText(protocol::invalidCommand), "{} is running already"},
    {protocol::kLaunch, resultText(protocol::noPermission), "{} is for administrators only"},
    {protocol::kLaunch, resultText(protocol::vexaNotFound), "there is no package {}"},
    {protocol::kGetIcon, kAny, "there is no package {}"},
    {protocol::kGetCurrentUser, resultText(protocol::loginRequired),
     "nobody is logged in to the desktop"},
    {protocol::kSetAutoLogin, resultText(protocol::parameterRequired),
     "this agent takes no setting of the automatic login"},
    {protocol::kLogin, protocol::kLoginFail,
     "{} is not logged in: wrong name or password, or a desktop session is up already"},
    {protocol::kLogin2, protocol::kLoginFail,
     "{} is not logged in: wrong name or password, or a desktop session is up already"},
    {protocol::kGetPassword, protocol::kFail, "no password is stored"},
    {kAny, resultText(protocol::loginRequired), "the desktop is not running"},
    {kAny, resultText(protocol::noPermission), "the agent does not permit this"},
    {kAny, resultText(protocol::invalidCommand), "the agent does not know this command"},
    {kAny, kAny, "the agent refused"},
};

bool fits(std::string_view pattern, std::string_view text) {
    return pattern == kAny || pattern == text;
}

std::string lowered(std::string_view text) {
    std::string result(text);
    std::ranges::transform(result, result.begin(),
                           [](unsigned char byte) { return tolower(byte); });
    return result;
}

/// How many letters have to be put in, taken out or changed to make one text of the other.
size_t distance(std::string_view one, std::string_view other) {
    std::vector<size_t> row(other.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < one.size(); ++i) {
        size_t diagonal = row[0]++;
        for (size_t j = 0; j < other.size(); ++j) {
            const size_t changed = diagonal + (one[i] == other[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

}  // namespace

std::string refusalText(std::string_view command, std::string_view result,
                        std::string_view subject) {
    const auto* const row = std::ranges::find_if(kRefusals, [&](const Refusal& each) {
        return fits(each.command, command) && fits(each.result, result);
    });
    std::string sentence(row->sentence);
    const size_t place = sentence.find(kSubject);
    return place == std::string::npos ? sentence
                                      : sentence.replace(place, kSubject.size(), subject);
}

std::string nearestName(std::string_view typed, const std::vector<std::string>& names) {
    const std::string wanted = lowered(typed);
    size_t least = 2 + wanted.size() / 4;  // as many letters are no slip any more
    std::string nearest;
    for (const std::string& name : names) {
        const size_t letters = distance(wanted, lowered(name));
        if (name == typed) {
            return "";
        }
        if (letters < least) {
            least = letters;
            nearest = name;
        }
    }
    return nearest;
}

}  // namespace client
