// Subcommands about the desktop session: status, user, settings, auto-login, logout.
#include "client/answer.h"
#include "client/commands.h"
#include "client/protocol.h"

namespace client {
namespace {

constexpr field_t statusFacts[] = {
    {"torvik_ver", "Desktop version"},
    {"isRefreshed", "Package list refreshed", fieldKind_t::flag},
};
constexpr field_t windowColumns[] = {
    {"winid", "WINDOW"},
    {"pid", "PID", fieldKind_t::number},
    {"active", "ACTIVE", fieldKind_t::flagAttribute},
    {"win_title", "TITLE"},
};
constexpr field_t userFacts[] = {{"user", "User"}};
constexpr field_t settingsFacts[] = {{"AutoLogin", "AutoLogin"}};
constexpr field_t autoLoginFacts[] = {{"errRtn", "Automatic login"}};

}  // namespace

int runStatus(const arguments_t& arguments) {
    return askAndShow(arguments, requestText("GetStatus"), {statusFacts, windowColumns});
}

int runUser(const arguments_t& arguments) {
    return askAndShow(arguments, requestText("GetCurrentUser"), {userFacts});
}

int runSettings(const arguments_t& arguments) {
    return askAndShow(arguments, requestText("GetKALLOSetting"), {settingsFacts});
}

int runAutoLogin(const arguments_t& arguments) {
    return askAndShow(arguments, requestText("SetAutoLogin", {arguments.choice}), {autoLoginFacts});
}

int runLogout(const arguments_t& arguments) {
    return runUnanswered(arguments, "Logout");
}

}  // namespace client
