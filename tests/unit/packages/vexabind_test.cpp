// The package scripts themselves are run by the system tests, in the box: the registry tool that
// finds them is the server's own.
#include "packages/vexabind.h"

#include "folderTest.h"

namespace {

namespace fs = std::filesystem;

TEST(ServiceRequests, AreThePairsOfWords) {
    const std::pair<std::string, std::deque<ServiceRequest>> rows[] = {
        {"a start b stop\n", {{"a", "start"}, {"b", "stop"}}},
        {" \n  a   start \nb\nstop\n \n", {{"a", "start"}, {"b", "stop"}}},
        {"a start b", {{"a", "start"}}},
        {std::string("a start\0 b stop", 15), {{"a", "start"}}},
    };
    for (const auto& [text, requests] : rows) {
        EXPECT_EQ(parseServiceRequests(text), requests) << text;
    }
}

TEST(InstallPathCommand, ReadsThePackagesSectionOrThatOfVirtualMachines) {
    const std::string rows[][3] = {{"ZelvKVM", "ZelvKVM", "Install_Path"},
                                   {"ZelvKVM.vm1", "ZelvKVM", "vm1"},
                                   // Cut by length, wherever the prefix stands.
                                   {"my.ZelvKVM.vm1", "ZelvKVM", "VM.vm1"}};
    for (const auto& [name, section, key] : rows) {
        const std::vector<std::string> command = {"/sbin/rdconf", section, key, "-f",
                                                  "/etc/config/vexa.conf"};
        EXPECT_EQ(installPathCommand(name), command);
    }
}

// The messages on standard error since CaptureStderr(), without the places that log them.
std::string messages() {
    const std::string text = testing::internal::GetCapturedStderr();
    std::string found;
    for (size_t at = text.find(")]: "); at != std::string::npos; at = text.find(")]: ", at + 1)) {
        found += text.substr(at + 4, text.find('\n', at) + 1 - at - 4);
    }
    return found;
}

class ServicePipe : public FolderTest {};

TEST_F(ServicePipe, ServesEachRequestOfAWriteInOrderBeforeItIsClosed) {
    const std::string path = write("pipe", "left behind");
    testing::internal::CaptureStderr();
    VexaBind bind(path);
    EXPECT_EQ(bind.init(), 0);
    EXPECT_EQ(fs::status(path).type(), fs::file_type::fifo);
    EXPECT_EQ(fs::status(path).permissions(), fs::perms{0600});
    ASSERT_EQ(bind.start(), 0);
    { const std::ofstream writer(path); }  // does not end the pipe
    std::ofstream(path) << "no-such-package none\nZelvKVM.no-such-machine none\nalone\n";
    bind.stop();
    EXPECT_EQ(messages(), "fifo path: " + path +
                              "\nvexaName:no-such-package   action:none\n"
                              "vexaName:ZelvKVM.no-such-machine   action:none\n");
}

}  // namespace
