// Whole command lines against an agent that plays a script: what is sent, what is printed, and
// with which status kalloctl ends.
#include "client/commandLine.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "client/commands.h"
#include "client/protocol.h"
#include "fakeAgent.h"

namespace client {
namespace {

struct run_t {
    int status;
    std::string out;
    std::string err;
};

// Runs kalloctl with `input` as its standard input.
run_t run(const std::vector<std::string>& words, const std::string& input = "") {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    EXPECT_EQ(write(ends[1], input.data(), input.size()), static_cast<ssize_t>(input.size()));
    close(ends[1]);
    const int formerInput = dup(STDIN_FILENO);
    dup2(ends[0], STDIN_FILENO);
    close(ends[0]);
    std::vector<const char*> argv = {"kalloctl"};
    for (const std::string& word : words) {
        argv.push_back(word.c_str());
    }
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = runCommandLine(static_cast<int>(argv.size()), argv.data());
    dup2(formerInput, STDIN_FILENO);
    close(formerInput);
    const std::string out = testing::internal::GetCapturedStdout();
    return {status, out, testing::internal::GetCapturedStderr()};
}

run_t runAgainst(FakeAgent& agent, std::vector<std::string> words, const std::string& input = "") {
    words.insert(words.end(), {"--timeout", "0.5", "-p", std::to_string(agent.port())});
    const run_t result = run(words, input);
    agent.finish();
    return result;
}

// A request as "command|param|param".
std::string partsOf(const std::string& request) {
    const XMLNode root = parseAnswer(request);
    std::string parts = childText(root, "cmd");
    for (int i = 0; i < root.childCount("param"); ++i) {
        parts += "|" + textOf(root.childNode("param", i));
    }
    return parts;
}

script_t answeringFields(const std::string& fields) {
    return answering("<ZelvDocRoot version=\"1.2\">\n\t<torvik_ver/>\n" + fields +
                     "</ZelvDocRoot>\n");
}

script_t answeringResult(const std::string& result) {
    return answeringFields("<errRtn>\n\t\t" + result + "\n\t</errRtn>");
}

const script_t silence = {{}};
const script_t stuck = {{}, "", ending_t::hang};

// "anna" and "pass" as 64-byte blocks filled with 0xFF, by openssl enc -aes-256-ecb -nopad.
const std::string annaBlock =
    "N0NEeUdnIrP8Cv1A36OKOlaxi80qZaD6RbzDpRMBL9NWsYvNKmWg+kW8w6UTAS/TVrGLzSploPpFvMOlEwEv0w==";
const std::string passBlock =
    "n7JBPPe0U1YXzSLKRwcrBVaxi80qZaD6RbzDpRMBL9NWsYvNKmWg+kW8w6UTAS/TVrGLzSploPpFvMOlEwEv0w==";

struct commandRow_t {
    std::vector<std::string> words;
    std::string input;
    script_t script;
    std::string sent;
    int status;
    std::string out;  ///< whole standard output
    std::string err;  ///< a part of standard error
};

const commandRow_t commandRows[] = {
    {{"user"},
     "",
     answeringFields("<errRtn>success</errRtn><user>anna</user>"),
     "GetCurrentUser",
     exitDone,
     "User:  anna\n",
     ""},
    {{"user"},
     "",
     answeringResult("login_required"),
     "GetCurrentUser",
     exitRefused,
     "",
     "kalloctl: login_required\n"},
    {{"settings"},
     "",
     answeringFields("<errRtn>success</errRtn><AutoLogin>no</AutoLogin>"),
     "GetKALLOSetting",
     exitDone,
     "AutoLogin:  no\n",
     ""},
    {{"settings"}, "", answeringResult("success"), "GetKALLOSetting", exitDone, "", ""},
    {{"auto-login", "yes"},
     "",
     answeringResult("paramter_required"),
     "SetAutoLogin|yes",
     exitRefused,
     "",
     "paramter_required"},
    {{"launch", "A & <B>"},
     "",
     answeringResult("success"),
     "Launch|A & <B>",
     exitDone,
     "Launch:  success\n",
     ""},
    {{"launch", "X"},
     "",
     answeringResult("vexa_\033[2Jnot_found"),
     "Launch|X",
     exitRefused,
     "",
     "vexa_\xEF\xBF\xBD[2Jnot_found"},
    {{"launch", "X"}, "", answering("no document"), "Launch|X", exitFailed, "", "no ZelvDocRoot"},
    {{"launch", "X"}, "", answeringFields(""), "Launch|X", exitFailed, "", "no result"},
    {{"kill-all"}, "", silence, "KillAll", exitDone, "", ""},
    {{"kill-all"}, "", stuck, "KillAll", exitFailed, "", "timeout"},
    {{"logout", "--json"}, "", silence, "Logout", exitDone, "{\n  \"done\": true\n}\n", ""},
    {{"logout"},
     "",
     answeringResult("invalid_command"),
     "Logout",
     exitRefused,
     "",
     "invalid_command"},
    {{"login", "anna"},
     "pass\nmore",
     answeringResult("login_success"),
     "Login|" + annaBlock + "|" + passBlock,
     exitDone,
     "Login:  login_success\n",
     ""},
    {{"login", "anna", "--plain", "--password-stdin"},
     "pass",
     answeringResult("login_fail"),
     "Login2|YW5uYQ==|cGFzcw==",
     exitRefused,
     "",
     "login_fail"},
    {{"login", "anna"},
     "pass",
     silence,
     "Login|" + annaBlock + "|" + passBlock,
     exitFailed,
     "",
     "without an answer"},
    {{"icon", "Player", "pad", "-o", "-"},
     "",
     answering("\x89PNG\033"),
     "GetIcon|Player|pad",
     exitDone,
     "\x89PNG\033",
     ""},
    {{"icon", "Player", "phone", "-o", "-"},
     "",
     {{announce(0)}},
     "GetIcon|Player|phone",
     exitRefused,
     "",
     "no such icon"},
    {{"raw", "<ZelvDocRoot><CMD>Logout</CMD></ZelvDocRoot>"},
     "",
     silence,
     "Logout",
     exitDone,
     "",
     ""},
    {{"raw", "-"},
     "<ZelvDocRoot><cmd>Any</cmd></ZelvDocRoot>",
     answering("\033\xFF"),
     "Any",
     exitDone,
     announce(2) + "\033\xFF",
     ""},
    {{"raw", "<ZelvDocRoot/>"}, "", silence, "", exitFailed, "", "without an answer"},
};

TEST(CommandLine, SendsAndPrintsAndJudges) {
    for (const commandRow_t& row : commandRows) {
        SCOPED_TRACE(row.words.front() + " -> " + row.err);
        FakeAgent agent(row.script);
        const run_t result = runAgainst(agent, row.words, row.input);
        EXPECT_EQ(partsOf(agent.request), row.sent);
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.out, row.out);
        EXPECT_NE(result.err.find(row.err), std::string::npos) << result.err;
        EXPECT_EQ(result.err.empty(), row.err.empty()) << result.err;
    }
}

const script_t list = answeringFields(
    "<nas_model>TS</nas_model><errRtn>success</errRtn>"
    "<item><name>Player</name><displayName>Film \033]0;x</displayName><version>1.0</version>"
    "<uuid>u1</uuid><icon_phone>yes</icon_phone><icon_pad>no</icon_pad></item>"
    "<item><name>Radio</name><displayName>Radio</displayName><icon_phone>no</icon_phone></item>");

TEST(CommandLine, ListsForPeopleScriptsAndMachines) {
    FakeAgent people(list);
    EXPECT_EQ(runAgainst(people, {"list"}).out,
              "Model:  TS\n\n"
              "NAME    DISPLAY NAME  VERSION  UUID  PHONE ICON  PAD ICON\n"
              "Player  Film \xEF\xBF\xBD]0;x    1.0      u1    yes         no\n"
              "Radio   Radio                        no\n");
    FakeAgent scripts(list);
    EXPECT_EQ(runAgainst(scripts, {"list", "--names"}).out, "Player\nRadio\n");
    FakeAgent machines(list);
    const auto value = nlohmann::json::parse(runAgainst(machines, {"list", "--json"}).out);
    EXPECT_EQ(value["errRtn"], "success");
    ASSERT_EQ(value["item"].size(), 2U);
    EXPECT_EQ(value["item"][0]["displayName"], "Film \033]0;x");
    EXPECT_EQ(value["item"][0]["icon_phone"], true);
    EXPECT_FALSE(value["item"][1].contains("uuid"));
}

TEST(CommandLine, ShowsTheStatusOfTheDesktop) {
    FakeAgent agent(answeringFields(
        "<errRtn>success</errRtn><isRefreshed>true</isRefreshed><item active=\"yes\">"
        "<win_title>Film</win_title><winid>0x1</winid><pid>7</pid></item>"));
    const auto value = nlohmann::json::parse(runAgainst(agent, {"status", "--json"}).out);
    EXPECT_EQ(value["isRefreshed"], true);
    EXPECT_EQ(value["item"], nlohmann::json::parse(
                                 R"([{"winid":"0x1","pid":7,"active":true,"win_title":"Film"}])"));
}

TEST(CommandLine, SavesAnIconOrLeavesTheOldOne) {
    const std::string path = testing::TempDir() + "kalloctl-icon-" + std::to_string(getpid());
    const auto content = [&] {
        std::stringstream bytes;
        bytes << std::ifstream(path, std::ios::binary).rdbuf();
        return bytes.str();
    };
    FakeAgent whole(answering("picture"));
    EXPECT_EQ(runAgainst(whole, {"icon", "P", "phone", "-o", path}).status, exitDone);
    EXPECT_EQ(content(), "picture");
    FakeAgent cut({{announce(9)}, "half"});
    EXPECT_EQ(runAgainst(cut, {"icon", "P", "phone", "-o", path}).status, exitFailed);
    EXPECT_EQ(content(), "picture");
    std::filesystem::remove(path);
}

TEST(CommandLine, RefusesWhatTheAgentCouldNotTake) {
    const std::vector<std::pair<std::vector<std::string>, const char*>> rows = {
        {{}, "subcommand is required"},
        {{"dance"}, "dance"},
        {{"launch"}, "PACKAGE"},
        {{"launch", " "}, "empty"},
        {{"launch", std::string(4096, 'p')}, "4096"},
        {{"icon", "P", "tv", "-o", "-"}, "tv"},
        {{"icon", "P", "pad"}, "--output"},
        {{"auto-login", "maybe"}, "maybe"},
        {{"user", "--port", "65536"}, "65536"},
        {{"user", "--timeout", "0"}, "timeout"},
        {{"login", std::string(48, 'u')}, "at most 47"},
        {{"login", "anna", "--password-stdin"}, "no password"},
        {{"raw", "-"}, "bytes"},
        {{"raw", std::string(4097, 'x')}, "4096"},
    };
    for (const auto& [words, reason] : rows) {
        const run_t result = run(words);
        EXPECT_EQ(result.status, exitUsage) << reason;
        EXPECT_NE(result.err.find(reason), std::string::npos) << result.err;
        EXPECT_EQ(result.out, "");
    }
}

TEST(CommandLine, EveryCommandHasHelpWithAnExampleAndACompletion) {
    std::stringstream completion;
    completion << std::ifstream(KALLOCTL_COMPLETION).rdbuf();
    for (const command_t& command : commands()) {
        const run_t result = run({command.name, "--help"});
        EXPECT_EQ(result.status, exitDone);
        EXPECT_NE(result.out.find(command.example), std::string::npos) << result.out;
        EXPECT_NE(completion.str().find(command.name), std::string::npos) << command.name;
    }
}

TEST(CommandLine, TellsThatNobodyListens) {
    int port = 0;
    {
        FakeAgent gone(silence);
        port = gone.port();
    }
    const run_t result = run({"--port", std::to_string(port), "user"});
    EXPECT_EQ(result.status, exitFailed);
    EXPECT_NE(result.err.find("Connection refused"), std::string::npos) << result.err;
}

}  // namespace
}  // namespace client
