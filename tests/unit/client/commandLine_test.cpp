// Whole command lines against an agent that plays a script: what is sent, what is printed, and
// with which status kalloctl ends.
#include <nlohmann/json.hpp>

#include "client/agentAddress.h"
#include "client/commands.h"
#include "companion/answer.h"
#include "fakeAgent.h"
#include "folderTest.h"

namespace client {
namespace {

using Words = std::vector<std::string>;

struct ProgramRun {
    int status;
    std::string shown;         ///< on standard output when done, else on standard error
    std::string request = "";  ///< as "command|param|param"
    bool isGivenTheGoAhead = false;
};

class CommandLine : public FolderTest {
  protected:
    ProgramRun run(const Words& words, const std::string& input = "") const;
    ProgramRun runAgainst(const std::vector<Script>& scripts, Words words,
                          const std::string& input = "") const;
};

ProgramRun CommandLine::run(const Words& words, const std::string& input) const {
    std::string line = KALLOCTL;
    for (const std::string& word : words) {
        line += " '" + word + "'";
    }
    line += " <" + write("in", input) + " >" + path("out") + " 2>" + path("err");
    const int status = WEXITSTATUS(system(line.c_str()));
    EXPECT_EQ(contentOf(path(status == exitDone ? "err" : "out")), "") << line;
    return {status, contentOf(path(status == exitDone ? "out" : "err"))};
}

ProgramRun CommandLine::runAgainst(const std::vector<Script>& scripts, Words words,
                                   const std::string& input) const {
    FakeAgent agent(scripts);
    words.insert(words.end(), {"--timeout", "0.5", "-p", std::to_string(agent.port)});
    ProgramRun result = run(words, input);
    agent.finish();
    result.isGivenTheGoAhead = agent.isGivenTheGoAhead;
    const XMLNode root = companion::parseDocument(agent.request);
    result.request = companion::childText(root, "cmd");
    for (int i = 0; i < root.childCount("param"); ++i) {
        result.request += "|" + companion::textOf(root.childNode("param", i));
    }
    return result;
}

Script result(const std::string& text) {
    return answeringFields("<errRtn>\n\t\t" + text + "\n\t</errRtn>");
}

Script ok(const std::string& fields) {
    return answeringFields("<errRtn>success</errRtn>" + fields);
}

const Script kSilence{};
const Script kTwo = ok("<item><name>Film</name></item><item><name>Radio</name></item>");
const std::string kFault = "kalloctl: there is no package radiu";

// "anna" and "pass" as 64-byte blocks filled with 0xFF, by openssl enc -aes-256-ecb -nopad.
const std::string kLogin =
    "Login|N0NEeUdnIrP8Cv1A36OKOlaxi80qZaD6RbzDpRMBL9NWsYvNKmWg+kW8w6UTAS/TVrGLzSploPpFvMOlEwEv0w=="
    "|n7JBPPe0U1YXzSLKRwcrBVaxi80qZaD6RbzDpRMBL9NWsYvNKmWg+kW8w6UTAS/TVrGLzSploPpFvMOlEwEv0w==";
const std::string kLogin2 = "Login2|YW5uYQ==|cGFzcw==";
const std::string kKill = "<ZelvDocRoot><CMD>KillAll</CMD></ZelvDocRoot>";

TEST_F(CommandLine, SendsAndPrintsAndJudges) {
    const struct {
        Words words;
        Script script;
        ProgramRun run;  ///< of standard error, a part
        std::string input = "pass\nmore";
    } rows[] = {
        {{"user"}, ok("<user>anna</user>"), {0, "User:  anna\n", "GetCurrentUser"}},
        {{"settings"},
         ok("<AutoLogin>no</AutoLogin>"),
         {0, "Login required:  no\n", "GetKALLOSetting"}},
        {{"launch", "A & <B>"}, ok(""), {0, "Launch:  success\n", "Launch|A & <B>"}},
        {{"launch", "X"}, result("\033[2J"), {1, "\xEF\xBF\xBD[2J", "Launch|X"}},
        {{"launch", "X"}, answeringFields(""), {3, "no result", "Launch|X"}},
        {{"launch", "X"}, result("invalid_command"), {1, "X is running already (in", "Launch|X"}},
        {{"user"}, result("login_required"), {1, ": nobody is logged in", "GetCurrentUser"}},
        {{"list"}, result("login_required"), {1, "desktop is not running (log", "ListVEXA"}},
        {{"list", "--names", "--json"}, kTwo, {0, "[\n  \"Film\",\n  \"Radio\"\n]\n", "ListVEXA"}},
        {{"kill-all"}, kSilence, {0, "", "KillAll"}},
        {{"logout", "--json"}, kSilence, {0, "{\n  \"done\": true\n}\n", "Logout"}},
        {{"login", "anna"}, result("login_success"), {0, "Login:  login_success\n", kLogin}},
        {{"login", "anna"}, kSilence, {3, "without an answer", kLogin}},
        {{"login", "anna", "--plain"}, result("login_fail"), {1, "login_fail", kLogin2}},
        {{"icon", "P", "pad", "-o", "-"}, answering("\x89\033"), {0, "\x89\033", "GetIcon|P|pad"}},
        {{"raw", "-"}, answering("\033\xFF"), {0, announce(2) + "\033\xFF", "KillAll"}, kKill},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.run.request + " -> " + row.run.shown);
        const ProgramRun found = runAgainst({row.script}, row.words, row.input);
        EXPECT_EQ(found.status, row.run.status);
        EXPECT_EQ(found.request, row.run.request);
        EXPECT_EQ(found.status == exitDone ? found.shown : row.run.shown, row.run.shown);
        EXPECT_NE(found.shown.find(row.run.shown), std::string::npos) << found.shown;
    }
}

TEST_F(CommandLine, TellsTheOutcomesOfAConversationApart) {
    const std::string nine = announce(9);
    const std::string unended = nine.substr(0, nine.size() - 1);
    const std::string late = "the agent did not answer within the timeout";
    const auto alone = End::announcement;
    const struct {
        Script script;
        std::string shown;
        int status = exitFailed;
    } rows[] = {
        {{{nine.substr(0, 5), nine.substr(5)}, "nine byte"}, "nine byte", exitDone},
        {{{unended, "\n"}, "\nine byte"}, "\nine byte", exitDone},  // a line feed that lags behind
        {{{unended}, "\nine byte"}, "\nine byte", exitDone},        // one that never comes
        {{{announce(4)}, std::string("\0\xFF\r\n", 4)}, std::string("\0\xFF\r\n", 4), exitDone},
        {{{announce(0)}}, "no such icon", exitRefused},
        {{{nine}, "short"}, "the answer ended after 5 of 9 bytes"},
        {{{}, "", End::never}, late},
        {{{nine.substr(0, 20)}, "", alone}, "the agent's announcement is cut short"},
    };
    for (const auto& row : rows) {
        const ProgramRun found = runAgainst({row.script}, {"icon", "P", "pad", "-o", "-"});
        EXPECT_NE(found.shown.find(row.shown), std::string::npos) << row.shown << found.shown;
        EXPECT_EQ(found.status, row.status) << row.shown;
        EXPECT_EQ(found.isGivenTheGoAhead, !row.script.payload.empty()) << row.shown;
    }
}

TEST_F(CommandLine, PrintsForPeopleScriptsAndMachines) {
    const Script list = ok(
        "<nas_model>TS</nas_model><item><name>Player</name><displayName>Film \033]0;x</displayName>"
        "<version>1.0</version><uuid>u1</uuid><icon_phone>yes</icon_phone><icon_pad>no</icon_pad>"
        "</item><item><name>Radio</name><icon_phone>no</icon_phone></item>");
    EXPECT_EQ(runAgainst({list}, {"list"}).shown,
              "Model:  TS\n\n"
              "NAME    DISPLAY NAME  VERSION  UUID  PHONE ICON  PAD ICON\n"
              "Player  Film \xEF\xBF\xBD]0;x    1.0      u1    yes         no\n"
              "Radio                                no\n");
    EXPECT_EQ(
        nlohmann::json::parse(runAgainst({list}, {"list", "--json"}).shown).at("item").dump(),
        R"([{"displayName":"Film \u001b]0;x","icon_pad":false,"icon_phone":true,)"
        R"("name":"Player","uuid":"u1","version":"1.0"},{"icon_phone":false,"name":"Radio"}])");
}

TEST_F(CommandLine, RefusesWhatTheAgentCouldNotTake) {
    const std::pair<Words, const char*> rows[] = {
        {{}, "subcommand is required"},
        {{"login"}, "USER is required"},
        {{"launch", " "}, "empty"},
        {{"icon", "P", "pad"}, "--output"},
        {{"user", "--port", "65536"}, "65536"},
        {{"login", std::string(48, 'u')}, "at most 47"},
        {{"login", "anna", "--password-stdin"}, "no password"},
        {{"raw", std::string(4097, 'x')}, "4096"},
        {{"login", "--json"}, "{\"error\":\"USER is required\"}\n"},
        {{"icon", "P", "pad", "-o", "-", "--json"}, "needs a file"},
        {{"user", "-H", "nas:http"}, "HOST:PORT"},
        {{"help", "nonsense"}, "unknown subcommand nonsense"},
    };
    for (const auto& [words, reason] : rows) {
        const ProgramRun found = run(words);
        EXPECT_EQ(found.status, exitUsage) << reason;
        EXPECT_NE(found.shown.find(reason), std::string::npos) << found.shown;
    }
}

TEST_F(CommandLine, TellsWhichPackageWasPerhapsMeant) {
    const Script missing = result("vexa_not_found");
    EXPECT_EQ(runAgainst({missing, kTwo}, {"launch", "radiu"}).shown,
              kFault + " (vexa_not_found); did you mean Radio?\n");
    EXPECT_EQ(runAgainst({missing, kTwo}, {"launch", "Zither"}).shown,
              "kalloctl: there is no package Zither (vexa_not_found)\n");
    EXPECT_EQ(runAgainst({{{announce(0)}}, kTwo}, {"icon", "radiu", "pad", "-o", "-"}).shown,
              kFault + "; did you mean Radio?\n");
    EXPECT_NE(runAgainst({{{announce(0)}}, kTwo}, {"icon", "Radio", "pad", "-o", "-"})
                  .shown.find("no such icon"),
              std::string::npos);
}

TEST_F(CommandLine, WaitsForTheWindowOfALaunch) {
    const std::string old = "<item><winid>0x1</winid><pid>1</pid></item>";
    const std::string added = "<item><winid>0x2</winid><pid>7</pid><win_title>T</win_title></item>";
    const ProgramRun found = runAgainst({ok(old), ok(""), ok(old), ok(old + added)},
                                        {"launch", "--wait", "Radio", "--json"});
    EXPECT_EQ(nlohmann::json::parse(found.shown).at("window").dump(),
              R"({"pid":7,"win_title":"T","winid":"0x2"})");
    EXPECT_EQ(runAgainst({ok(old), ok("")}, {"launch", "Radio", "--wait", "0.3"}).status,
              exitFailed);
}

TEST_F(CommandLine, TakesTheAddressFromAnOptionOrTheEnvironment) {
    const FakeAgent agent({ok("<user>anna</user>"), ok("<user>anna</user>")});
    const std::string address = "127.0.0.1:" + std::to_string(agent.port);
    EXPECT_EQ(run({"user", "--host=" + address}).status, exitDone);
    setenv("KALLO_HOST", address.c_str(), 1);
    EXPECT_EQ(run({"user"}).status, exitDone);
    unsetenv("KALLO_HOST");
    const struct {
        std::string text;
        std::string host;
        int port;
        int option = 0;
    } rows[] = {
        {"nas", "nas", 9812},           {"nas:80", "nas", 80},        {"[::1]:80", "::1", 80},
        {"[fd00::5]", "fd00::5", 9812}, {"fd00::5", "fd00::5", 9812}, {"nas:80", "nas", 99, 99},
    };
    for (const auto& row : rows) {
        Arguments arguments;
        arguments.host = row.text;
        arguments.port = row.option;
        EXPECT_EQ(takeAddress(arguments), "");
        EXPECT_EQ(arguments.host, row.host);
        EXPECT_EQ(arguments.port, row.port);
    }
    for (const char* text : {"", ":80", "nas:", "nas:65536", "[", "[]:80", "[::1", "[::1]80"}) {
        Arguments arguments;
        arguments.host = text;
        EXPECT_NE(takeAddress(arguments), "") << text;
    }
}

TEST_F(CommandLine, EveryCommandHasHelpWithAnExample) {
    for (const Command& command : commands()) {
        const ProgramRun help = run({command.name, "--help"});
        EXPECT_EQ(help.status, exitDone);
        EXPECT_NE(help.shown.find(command.example), std::string::npos) << help.shown;
        EXPECT_EQ(run({"help", command.name}).shown, help.shown);
    }
}

}  // namespace
}  // namespace client
