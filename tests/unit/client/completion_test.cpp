// The completion scripts as they are made of the table: bash runs its own, the others are read.
#include "client/completion.h"

#include "client/commands.h"
#include "folderTest.h"

namespace client {
namespace {

class Completion : public FolderTest {
  protected:
    static std::string script(const std::string& name) {
        return completionText(contentOf(KALLOCTL_COMPLETION + name + ".in"));
    }

    // What bash offers behind `line`. The kalloctl that it asks tells how it was asked.
    std::string offered(const std::string& line) const {
        const std::string bash = write(
            "run", script("kalloctl.bash") + "\nkalloctl() { echo \"$*\" >" + path("asked") +
                       "; printf '%s\\n' 'Media Player' Radio; }\ncompopt() { :; }\nCOMP_LINE='" +
                       line +
                       "' COMP_POINT=${#COMP_LINE}\n_kalloctl\nIFS=\\|; echo \"${COMPREPLY[*]}\"");
        EXPECT_EQ(system(("bash " + bash + " >" + path("out")).c_str()), 0) << line;
        return contentOf(path("out"));
    }
};

TEST_F(Completion, OffersInBashWhatTheTableHas) {
    const std::pair<const char*, const char*> rows[] = {
        {"kalloctl sta", "status\n"},
        {"kalloctl launch ", "Media\\ Player|Radio\n"},
        {"kalloctl --host=NAS launch R", "Radio\n"},
        {"kalloctl -p 80 icon Media\\ Player p", "phone|pad\n"},
        {"kalloctl auto-login --json y", "yes\n"},
        {"kalloctl list --na", "--names\n"},
        {"kalloctl launch Radio ", "\n"},
        {"kalloctl --timeout st", "\n"},
        {"kalloctl help ki", "kill-all\n"},
    };
    for (const auto& [line, words] : rows) {
        EXPECT_EQ(offered(line), words) << line;
    }
    offered("kalloctl --host=NAS:80 launch ");
    EXPECT_EQ(contentOf(path("asked")), "--timeout 1 --host=NAS:80 list --names\n");
}

TEST_F(Completion, HasEverySubcommandInEveryShell) {
    for (const char* shell : {"kalloctl.bash", "_kalloctl", "kalloctl.fish"}) {
        const std::string text = script(shell);
        EXPECT_EQ(text.find("@BASH") & text.find("@ZSH") & text.find("@FISH"), std::string::npos);
        for (const Command& command : commands()) {
            EXPECT_NE(text.find(command.name), std::string::npos) << shell << command.name;
        }
    }
}

}  // namespace
}  // namespace client
