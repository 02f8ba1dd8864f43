// The fixed facts of the client protocol that the agent and its companions share: where the agent
// listens, what its documents are called, which texts an answer holds. Apps have them built in, so
// none may change.
#pragma once

#include <array>
#include <cstddef>

namespace protocol {

inline constexpr int kPort = 9812;                                       ///< TCP, IPv4
inline constexpr const char* kChannelPath = "/tmp/.kalloagent.channel";  ///< unix(7) socket
/// The most bytes that the agent reads of a request, in one read.
inline constexpr size_t kRequestLimit = 4096;

// Documents

inline constexpr const char* kRootElement = "ZelvDocRoot";
inline constexpr const char* kVersionAttribute = "version";
inline constexpr const char* kVersion = "1.2";
inline constexpr const char* kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

inline constexpr const char* kCommandElement = "cmd";
inline constexpr const char* kParameterElement = "param";
inline constexpr const char* kSizeElement = "size";
inline constexpr const char* kDesktopVersionElement = "torvik_ver";
inline constexpr const char* kResultElement = "errRtn";
inline constexpr const char* kItemElement = "item";

// Fields of answers, besides the ones above

inline constexpr const char* kUserElement = "user";
inline constexpr const char* kAutoLoginElement = "AutoLogin";
inline constexpr const char* kPasswordElement = "passwd";  ///< base64
inline constexpr const char* kRefreshedElement = "isRefreshed";
/// Of an item that is a window; the first is an attribute of the item itself.
inline constexpr const char* kActiveAttribute = "active";
inline constexpr const char* kWindowTitleElement = "win_title";
inline constexpr const char* kWindowIdElement = "winid";
inline constexpr const char* kProcessElement = "pid";
/// Of an item that is a package.
inline constexpr const char* kNameElement = "name";
inline constexpr const char* kDisplayNameElement = "displayName";
inline constexpr const char* kPackageVersionElement = "version";
inline constexpr const char* kIdentifierElement = "uuid";
inline constexpr const char* kPhoneIconElement = "icon_phone";
inline constexpr const char* kPadIconElement = "icon_pad";
/// Of the server, in the list of packages.
inline constexpr const char* kModelElement = "nas_model";
inline constexpr const char* kInternalModelElement = "nas_internal_model";
inline constexpr const char* kServerNameElement = "nas_display_name";
inline constexpr const char* kSystemVersionElement = "rux_ver";
inline constexpr const char* kSystemBuildElement = "rux_build";
inline constexpr const char* kBuildNumberElement = "rux_num";

// Commands

inline constexpr const char* kGetStatus = "GetStatus";
inline constexpr const char* kListVexa = "ListVEXA";
inline constexpr const char* kGetIcon = "GetIcon";
inline constexpr const char* kLaunch = "Launch";
inline constexpr const char* kKillAll = "KillAll";
inline constexpr const char* kGetCurrentUser = "GetCurrentUser";
inline constexpr const char* kLogin = "Login";
inline constexpr const char* kLogin2 = "Login2";
inline constexpr const char* kLogout = "Logout";
inline constexpr const char* kSetAutoLogin = "SetAutoLogin";
inline constexpr const char* kGetKalloSetting = "GetKALLOSetting";
/// Of the local channel alone.
inline constexpr const char* kGetPassword = "GetPassword";

/// The kinds of icon that GetIcon knows.
inline constexpr const char* kPhone = "phone";
inline constexpr const char* kPad = "pad";

// Results

/// Codes of a result, as the agent's handlers number them.
enum ResultCode : int {
    success = 0,
    noPermission = 1,
    loginRequired = 2,
    parameterRequired = 3,
    vexaNotFound = 4,
    invalidCommand = 5
};

/// The text of each code. That of code 3 is spelled as clients compare it.
inline constexpr std::array<const char*, 6> kResultTexts = {"success",        "no_permission",
                                                            "login_required", "paramter_required",
                                                            "vexa_not_found", "invalid_command"};
/// The text of any other failure.
inline constexpr const char* kFail = "fail";
/// The two results of a log-in.
inline constexpr const char* kLoginSuccess = "login_success";
inline constexpr const char* kLoginFail = "login_fail";

}  // namespace protocol
