// Subcommands about the desktop session: status, user, settings, auto-login, logout.
#include "client/answer.h"
#include "client/commands.h"
#include "companion/request.h"
#include "support/protocol.h"

namespace client {
namespace {

constexpr Field kStatusFacts[] = {
    {protocol::kDesktopVersionElement, "Desktop version"},
    {protocol::kRefreshedElement, "Package list refreshed", FieldKind::flag},
};
constexpr Field kWindowColumns[] = {
    {protocol::kWindowIdElement, "WINDOW"},
    {protocol::kProcessElement, "PID", FieldKind::number},
    {protocol::kActiveAttribute, "ACTIVE", FieldKind::flagAttribute},
    {protocol::kWindowTitleElement, "TITLE"},
};
constexpr Field kUserFacts[] = {{protocol::kUserElement, "User"}};
constexpr Field kSettingsFacts[] = {{protocol::kAutoLoginElement, "Login required"}};
constexpr Field kAutoLoginFacts[] = {{protocol::kResultElement, "Automatic login"}};

}  // namespace

int runStatus(const Arguments& arguments) {
    return askAndShow(arguments, companion::requestText(protocol::kGetStatus),
                      {kStatusFacts, kWindowColumns});
}

int runUser(const Arguments& arguments) {
    return askAndShow(arguments, companion::requestText(protocol::kGetCurrentUser), {kUserFacts});
}

int runSettings(const Arguments& arguments) {
    return askAndShow(arguments, companion::requestText(protocol::kGetKalloSetting),
                      {kSettingsFacts});
}

int runAutoLogin(const Arguments& arguments) {
    return askAndShow(arguments,
                      companion::requestText(protocol::kSetAutoLogin, {arguments.choice}),
                      {kAutoLoginFacts});
}

int runLogout(const Arguments& arguments) {
    return runUnanswered(arguments, protocol::kLogout);
}

}  // namespace client
