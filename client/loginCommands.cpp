// Subcommands about credentials: login over TCP, password over the local channel.
#include <nlohmann/json.hpp>

#include "client/answer.h"
#include "client/ask.h"
#include "client/commands.h"
#include "client/input.h"
#include "client/output.h"
#include "companion/answer.h"
#include "companion/credential.h"
#include "companion/request.h"
#include "support/base64.h"
#include "support/protocol.h"

namespace client {
namespace {

using companion::CredentialForm;

constexpr Field kLoginFacts[] = {{protocol::kResultElement, "Login"}};

bool isFit(const char* what, const std::string& value, CredentialForm form) {
    const std::string fault = companion::credentialFault(value, form);
    if (!fault.empty()) {
        complain(std::string("the ") + what + " " + fault);
    }
    return fault.empty();
}

int showPassword(const Arguments& arguments, const XMLNode& document) {
    const std::string encoded = companion::childText(document, protocol::kPasswordElement);
    const std::string password = support::base64Decode(encoded);
    if (arguments.json) {
        printJson({{protocol::kResultElement, companion::resultOf(document)},
                   {protocol::kDesktopVersionElement,
                    companion::childText(document, protocol::kDesktopVersionElement)},
                   {protocol::kPasswordElement, encoded},
                   {"password", password}},
                  true);
    } else if (!password.empty()) {
        printForeign(password + "\n");
    }
    return judge(arguments, protocol::kGetPassword, document);
}

}  // namespace

int runLogin(const Arguments& arguments) {
    const CredentialForm userForm =
        arguments.plain ? CredentialForm::plainUser : CredentialForm::enciphered;
    const CredentialForm passwordForm =
        arguments.plain ? CredentialForm::plainPassword : CredentialForm::enciphered;
    if (!isFit("user name", arguments.user, userForm)) {
        return exitUsage;
    }
    const auto password = readPassword("Password: ", !arguments.passwordStdin);
    if (!password) {
        complain("no password was given");
        return exitUsage;
    }
    if (!isFit("password", *password, passwordForm)) {
        return exitUsage;
    }
    const std::string request = arguments.plain
                                    ? companion::plainLoginRequest(arguments.user, *password)
                                    : companion::loginRequest(arguments.user, *password);
    return askAndShow(arguments, request, {kLoginFacts});
}

int runPassword(const Arguments& arguments) {
    const Answer answer =
        askDocument(connectLocalChannel(arguments), companion::requestText(protocol::kGetPassword));
    if (answer.reply != Reply::answered) {
        complain(answer.error);
        return exitFailed;
    }
    return showPassword(arguments, answer.document);
}

}  // namespace client
