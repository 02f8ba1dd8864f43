// Subcommands about credentials: login over TCP, password over the local channel.
#include <nlohmann/json.hpp>

#include "client/answer.h"
#include "client/commands.h"
#include "client/connection.h"
#include "client/credential.h"
#include "client/input.h"
#include "client/output.h"
#include "client/protocol.h"
#include "support/base64.h"

namespace client {
namespace {

constexpr field_t loginFacts[] = {{"errRtn", "Login"}};

bool isFit(const char* what, const std::string& value, credentialForm_t form) {
    const std::string fault = credentialFault(value, form);
    if (!fault.empty()) {
        complain(std::string("the ") + what + " " + fault);
    }
    return fault.empty();
}

std::string loginRequest(const std::string& user, const std::string& password, bool plain) {
    if (plain) {
        return requestText("Login2",
                           {support::base64Encode(user), support::base64Encode(password)});
    }
    return requestText("Login", {support::base64Encode(credentialBlock(user)),
                                 support::base64Encode(credentialBlock(password))});
}

int showPassword(const arguments_t& arguments, const XMLNode& document) {
    const std::string encoded = childText(document, "passwd");
    const std::string password = support::base64Decode(encoded);
    if (arguments.json) {
        printJson({{"errRtn", childText(document, "errRtn")},
                   {"torvik_ver", childText(document, "torvik_ver")},
                   {"passwd", encoded},
                   {"password", password}},
                  true);
    } else if (!password.empty()) {
        printForeign(password + "\n");
    }
    return judge(document);
}

}  // namespace

int runLogin(const arguments_t& arguments) {
    const credentialForm_t userForm =
        arguments.plain ? credentialForm_t::plainUser : credentialForm_t::enciphered;
    const credentialForm_t passwordForm =
        arguments.plain ? credentialForm_t::plainPassword : credentialForm_t::enciphered;
    if (!isFit("user name", arguments.user, userForm)) {
        return exitUsage;
    }
    std::string password;
    if (!readPassword("Password: ", !arguments.passwordStdin, password)) {
        complain("no password was given");
        return exitUsage;
    }
    if (!isFit("password", password, passwordForm)) {
        return exitUsage;
    }
    return askAndShow(arguments, loginRequest(arguments.user, password, arguments.plain),
                      {loginFacts});
}

int runPassword(const arguments_t& arguments) {
    XMLNode document;
    std::string error;
    bool silent = false;
    auto socket = connectLocal(localChannelPath, millisecondsOf(arguments.timeoutSeconds), error);
    if (!askDocument(std::move(socket), requestText("GetPassword"), document, silent, error)) {
        complain(error);
        return exitFailed;
    }
    return showPassword(arguments, document);
}

}  // namespace client
