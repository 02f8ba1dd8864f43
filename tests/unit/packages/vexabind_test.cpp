// The package scripts themselves are run by the system tests, in the box: the registry tool that
// finds them is the server's own.
#include "packages/vexabind.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using Requests = std::deque<ServiceRequest>;

TEST(ServiceRequests, AreThePairsOfWords) {
    const struct {
        const char* guards;
        std::string text;
        Requests requests;
    } rows[] = {
        {"two requests", "a start b stop\n", {{"a", "start"}, {"b", "stop"}}},
        {"a line each", "a start\nb stop\n", {{"a", "start"}, {"b", "stop"}}},
        {"a pair over two lines", "a\nstart", {{"a", "start"}}},
        {"blanks and line feeds around", " \n  a   start \n\n \n", {{"a", "start"}}},
        {"a word without a partner", "a start b", {{"a", "start"}}},
        {"a single word", "a\n", {}},
        {"only blanks", " \n \n", {}},
        {"tabs are no blanks", "a\tstart b\r stop", {{"a\tstart", "b\r"}}},
        {"end at a NUL byte", "a start\0 b stop"s, {{"a", "start"}}},
        {"NUL byte in front", "\0a start"s, {}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(parseServiceRequests(row.text), row.requests) << row.guards;
    }
}

TEST(InstallPathCommand, ReadsThePackagesSectionOrThatOfVirtualMachines) {
    const struct {
        const char *name, *section, *key;
    } rows[] = {
        {"Player", "Player", "Install_Path"},
        {"ZelvKVM", "ZelvKVM", "Install_Path"},
        {"ZelvKVM.vm1", "ZelvKVM", "vm1"},
        {"my.ZelvKVM.vm1", "ZelvKVM", "VM.vm1"},  // cut by length, wherever the prefix stands
    };
    for (const auto& row : rows) {
        EXPECT_EQ(installPathCommand(row.name),
                  std::vector<std::string>(
                      {"/sbin/rdconf", row.section, row.key, "-f", "/etc/config/vexa.conf"}));
    }
}

class VexaBindTest : public testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = testing::TempDir() + "vexabindXXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_root = pattern;
        m_pipe = m_root / "pipe";
    }
    void TearDown() override { fs::remove_all(m_root); }

    fs::path m_root;
    fs::path m_pipe;
};

/// What was written to standard error since CaptureStderr(), with "N" for each line number.
std::string capturedLines() {
    std::string text = testing::internal::GetCapturedStderr();
    const std::string before = "][Line:";
    for (size_t at = text.find(before); at != std::string::npos; at = text.find(before, at)) {
        at += before.size();
        text.replace(at, text.find(']', at) - at, "N");
    }
    return text;
}
const std::string kInInit = "[File:vexabind][Line:N][Func:int VexaBind::init()]: ";
const std::string kInThreadBody = "[File:vexabind][Line:N][Func:void VexaBind::threadBody()]: ";

TEST_F(VexaBindTest, ReplacesAFileByAPipeOfItsOwnUser) {
    std::ofstream(m_pipe) << "left behind";
    testing::internal::CaptureStderr();
    VexaBind bind(m_pipe);
    const int result = bind.init();
    EXPECT_EQ(capturedLines(), kInInit + "fifo path: " + m_pipe.string() + "\n");
    EXPECT_EQ(result, 0);
    struct stat status {};
    ASSERT_EQ(stat(m_pipe.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, mode_t{S_IFIFO | 0600});
}

TEST_F(VexaBindTest, SaysThatThePipeCannotBeMade) {
    const fs::path missing = m_root / "missing/pipe";
    testing::internal::CaptureStderr();
    VexaBind bind(missing);
    const int result = bind.init();
    EXPECT_EQ(capturedLines(),
              kInInit + "fifo path: " + missing.string() + "\n" + kInInit + "mkfifo fail!\n");
    EXPECT_EQ(result, -1);
    EXPECT_DEATH(bind.threadBody(), "m_fifoFd != -1");
}

TEST_F(VexaBindTest, ServesEachRequestOfAWriteInOrderBeforeItStops) {
    testing::internal::CaptureStderr();
    VexaBind bind(m_pipe);
    const int result = bind.init();
    bind.start();
    {
        // A writer that comes and goes does not end the pipe.
        const std::ofstream writer(m_pipe);
    }
    std::ofstream(m_pipe) << "no-such-package none\nZelvKVM.no-such-machine none\nalone\n";
    bind.stop();
    EXPECT_EQ(capturedLines(),
              kInInit + "fifo path: " + m_pipe.string() + "\n" +  //
                  kInThreadBody + "vexaName:no-such-package   action:none\n" + kInThreadBody +
                  "vexaName:ZelvKVM.no-such-machine   action:none\n");
    EXPECT_EQ(result, 0);
}

}  // namespace
