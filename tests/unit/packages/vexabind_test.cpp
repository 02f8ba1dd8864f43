// The package scripts themselves are run by the system tests, in the box: the registry tool that
// finds them is the server's own.
#include "packages/vexabind.h"

#include <gtest/gtest.h>

namespace {

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

}  // namespace
