#include "fuzz/fakeSystem.h"

#include <cassert>
#include <cstdio>
#include <cstring>
#include <vector>

#include "accounts/accountStore.h"
#include "agent/desktopCheck.h"
#include "agent/handOver.h"
#include "fuzz/memoryFile.h"
#include "packages/packageReader.h"
#include "packages/vexaManager.h"
#include "support/base64.h"
#include "support/commandRunner.h"

using fakeSystem::state;

fakeSystem::State& fakeSystem::state() {
    static State current;
    return current;
}

// The command runner

namespace {

std::vector<std::string> wordsOf(char** argv) {
    assert(argv != nullptr && argv[0] != nullptr);
    std::vector<std::string> words;
    for (; *argv != nullptr; ++argv) {
        words.emplace_back(*argv);
    }
    return words;
}

/// "/bin/echo VALUE | /usr/bin/base64 -d", as long as the value is one word.
std::string decodedValue(const std::vector<std::string>& words) {
    return words.size() > 2 && words[2] == "|" ? support::base64Decode(words[1]) : std::string();
}

/// What a tool prints on a server in order.
std::string usualOutput(const std::vector<std::string>& words) {
    const std::string& tool = words.front();
    if (tool == "/bin/echo") {
        return decodedValue(words);
    }
    if (tool == "/opt/bin/zelvshmenv") {
        return "<env><NasUser>YWRtaW4=</NasUser><NasGroupID>MA==</NasGroupID></env>\n";
    }
    if (tool == "/usr/bin/wmctrl") {
        return "0x01e00003  0 412    nas Browser\n0x02200007 -1 0      nas panel two words\n";
    }
    if (tool == "cat") {
        return support::base64Encode(std::string(64, 'e')) + "\n";
    }
    return tool == "/sbin/rdconf" ? "null\n" : "";
}

}  // namespace

FILE* exec_open_stream(const char* mode, const char* /*err_path*/, const char* /*log_path*/,
                       char /*do_glob*/, char** argv) {
    const std::vector<std::string> words = wordsOf(argv);
    // Whatever a request holds, the stream has to end with the command.
    assert(strcmp(mode, "r") == 0 && words.back() == "&");
    ++state().started;
    std::string output = "*";
    if (!state().outputs.empty()) {
        output = state().outputs.front();
        state().outputs.pop_front();
    }
    if (output == "-") {
        return nullptr;
    }
    if (output == "*") {
        output = usualOutput(words);
    }
    FILE* const stream = fmemopen(nullptr, output.size() + 1, "w+");
    assert(stream != nullptr);
    fwrite(output.data(), 1, output.size(), stream);
    rewind(stream);
    return stream;
}

int exec_pclose(FILE* stream) {
    assert(stream != nullptr);
    fclose(stream);
    return 256;
}

int exec_pipeline(int /*in_fd*/, int /*out_fd*/, int /*err_fd*/, const char* /*log_path*/,
                  char /*do_glob*/, char** argv) {
    // Each word of the agent's own is still where the tools look for it.
    const std::vector<std::string> words = wordsOf(argv);
    if (words.front() == "/sbin/wrconf") {
        assert(words.size() >= 5 && words[words.size() - 2] == "-f");
        assert(words.back().ends_with("/.config/ZELV/KALLO.conf"));
    }
    ++state().started;
    return 0;
}

// The desktop, the accounts and the hand-over file

bool isDesktopRunning() {
    return state().isDesktopUp;
}

AccountStore::AccountStore() = default;

std::optional<std::string> AccountSources::systemShadowHash(const std::string& /*user*/) {
    return std::nullopt;
}

int AccountStore::verifyPassword(const std::string& user, const std::string& password) const {
    assert(user.size() <= 64 && password.size() <= 64);
    return state().admitsEveryone ? 0 : -1;
}

bool handOver::store(std::string_view text) {
    state().handOver = text;
    return !state().handOver.empty();
}

std::string handOver::load() {
    return state().handOver;
}

// The packages

PackageListPtr packages::readPackages() {
    static const fuzz::MemoryFile kIcon(fakeSystem::kIcon);
    auto list = std::make_shared<PackageList>(4);
    PackageRecord& browser = (*list)[0];
    browser.name = browser.vexaName = browser.Display_Name = "Browser";
    browser.stop = "/share/vexa/Browser/stop";
    browser.phoneIcon = kIcon.path();
    browser.padIcon = "/proc/self/fd";
    browser.exe_filename = "browser-tv";
    browser.multiwin = true;
    PackageRecord& administration = (*list)[1];
    administration.name = administration.vexaName = "Admin";
    administration.AdminOnly = true;
    administration.exe_filename = "a | grep b";
    PackageRecord& off = (*list)[2];
    off.name = off.vexaName = "Off";
    off.Enable = false;
    PackageRecord& odd = (*list)[3];
    odd.name = odd.vexaName = odd.Display_Name = "Q&A <\"1\">";
    odd.padIcon = "/no/such/icon";
    return list;
}

int CVexaManager::startVexaExec(const std::string& vexaName, const std::vector<exportEnv_s>& env,
                                bool wait) {
    assert(findPackage(*packages(), vexaName) != nullptr && !wait);
    for (const exportEnv_s& variable : env) {
        assert(variable.name.find('\0') == std::string::npos);
    }
    ++state().started;
    return -1;
}

namespace corex {

// Nothing is watched, and no thread runs.
Inotify::Inotify() = default;
Inotify::~Inotify() = default;
void Inotify::Start() {}
void Inotify::AddObserver(InotifyObserver* /*observer*/) {}
int Inotify::Init() {
    return 0;
}
int Inotify::AddWatch(const std::string& /*path*/, uint32_t /*mask*/) {
    return 0;
}

}  // namespace corex
