#include "accounts/accountStore.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

namespace {

namespace fs = std::filesystem;

std::map<std::string, std::string> shadowDatabase;

std::optional<std::string> lookUp(const std::string& user) {
    const auto found = shadowDatabase.find(user);
    return found == shadowDatabase.end() ? std::nullopt : std::optional(found->second);
}

class AccountStoreTest : public testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = testing::TempDir() + "accountsXXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_root = pattern;
        m_sources.serverConf = m_root / "uVelt.conf";
        m_sources.shareInfo = m_root / "def_share.info";
        m_sources.shadow = m_root / "shadow";
        m_sources.group = m_root / "group";
        m_sources.homes = m_root / "homes";
        m_sources.shadowHash = lookUp;
        shadowDatabase.clear();
    }
    void TearDown() override { fs::remove_all(m_root); }

    static void write(const fs::path& path, const std::string& text) {
        fs::create_directories(path.parent_path());
        std::ofstream(path) << text;
    }

    /// The names of the users listed for a shadow file of `lines`, a blank after each.
    std::string names(const std::string& lines) const {
        write(m_sources.shadow, lines);
        const AccountStore store(m_sources);
        std::string all;
        for (const UserEntry& user : store.users()) {
            all += user.name + " ";
        }
        return all;
    }

    fs::path m_root;
    AccountSources m_sources;
};

TEST_F(AccountStoreTest, ListsUsersButGuestsAndLockedAccounts) {
    EXPECT_EQ(names(""), "");
    EXPECT_EQ(
        names("admin:$6$a$b:1:0:99999:7:::\nguest:$6$a$b:1\nguest2:$6$a$b:1\nlocked:!$6$a$b:1\n"
              "daemon:*:1\nno colon\n\nopen::1\nbob:$1$a$b"),
        "admin daemon open bob ");
    // What a line holds beyond 511 bytes counts as the next line.
    const std::string cutShort = "first:" + std::string(505, 'x');
    EXPECT_EQ(names(cutShort + "guest:y\n" + cutShort + "second:y\n"), "first first second ");
}

TEST_F(AccountStoreTest, FindsPortraitsBelowLinkedHomesOrTheDefaultVolume) {
    const std::string volume = m_root / "volume";
    const std::string home = m_root / "homes/bob/.zelvos_bgImg/portrait.jpg";
    const std::string plain = volume + "/.zelvos_bgImg/bob/portrait.jpg";
    const std::string withLineEnd = volume + "\n/.zelvos_bgImg/bob/portrait.jpg";
    for (const std::string& path : {home, plain, withLineEnd}) {
        write(path, "picture");
    }
    write(m_sources.shadow, "bob:$1$a$b\n");
    const std::string share = "[Share]\ndefVolMP = " + volume;
    const struct {
        const char* guards;
        std::string conf, share, portrait;
    } rows[] = {
        {"linked", "[System]\nHomeLink = TRUE\n", share, home},
        {"not linked", "HomeLink = FALSE\n", share, plain},
        {"only the first with the key", "HomeLink = no\nHomeLink = TRUE\n", share, plain},
        {"key and word on two lines", "HomeLink =\nTRUE\n", share, plain},
        {"beyond the line buffer", "HomeLink" + std::string(503, ' ') + "TRUE\n", share, plain},
        {"the line end belongs to the mount point", "", share + "\nnext = 1\n", withLineEnd},
        {"just one character is skipped", "", "defVolMP =  " + volume, ""},
        {"first of several", "", share + "\ndefVolMP = /nowhere\n", withLineEnd},
        {"nothing behind the equals sign", "", "defVolMP =", ""},
        {"no equals sign", "", "defVolMP\n" + share, ""},
    };
    for (const auto& row : rows) {
        write(m_sources.serverConf, row.conf);
        write(m_sources.shareInfo, row.share);
        const AccountStore store(m_sources);
        ASSERT_EQ(store.users().size(), 1U);
        EXPECT_EQ(store.users()[0].portrait, row.portrait) << row.guards;
    }
}

TEST_F(AccountStoreTest, CutsPortraitPathsAt511CharactersAndWaitsForNoPipe) {
    const std::string picture = "/.zelvos_bgImg/portrait.jpg";
    std::string longName(515 - m_sources.homes.size() - 1 - picture.size(), 'n');
    longName[longName.size() / 2] = '/';
    const std::string cut = (m_sources.homes + "/" + longName + picture).substr(0, 511);
    ASSERT_TRUE(cut.ends_with("/portrait"));
    write(cut, "picture");
    const fs::path pipe = m_root / ("homes/bob" + picture);
    fs::create_directories(pipe.parent_path());
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    write(m_sources.serverConf, "HomeLink = TRUE\n");
    write(m_sources.shadow, "bob:x\n" + longName + ":x\n");
    const AccountStore store(m_sources);
    ASSERT_EQ(store.users().size(), 2U);
    EXPECT_EQ(store.users()[0].portrait, pipe);
    EXPECT_EQ(store.users()[1].portrait, cut);
}

TEST_F(AccountStoreTest, VerifiesPasswordsAgainstTheShadowDatabase) {
    const std::string sha512 =
        "$6$abcdefgh$ltjgWl6579NluT/Vi1nwEvcil.G5Nbc4NiXZaNGStk8PSwGfQv72N2CKPPrVACtLtip/cZ/"
        "1GM/O6IND4WQhG.";
    const struct {
        std::string user, hash;
        int right;
    } rows[] = {
        {"md5", "$1$abcdefgh$cHJi5PXp/ki/ktXzqlk6I1", 0},
        {"sha256", "$5$abcdefgh$gruCpC7VkOTspMQTTSAR8mtlO9Upms.fwqE5y16JVM.", 0},
        {"sha512", sha512, 0},
        {"guest2", sha512, 0},
        {"des", "abNANd1rDfiNc", 0},
        {"locked", "!" + sha512, -1},
        {"star", "*", -1},
        {"token0", "*0", -1},
        {"token1", "*1", -1},
        {"empty", "", -1},
    };
    std::string shadow = std::string(5000, 'x') + "\nunknown:" + sha512 + "\nlonger :x\n";
    for (const auto& row : rows) {
        shadow += row.user + ":x:1\n";
        shadowDatabase[row.user] = row.hash;
    }
    shadowDatabase["longer"] = sha512;
    shadowDatabase["absent"] = sha512;
    write(m_sources.shadow, shadow);
    const AccountStore store(m_sources);
    for (const auto& row : rows) {
        EXPECT_EQ(store.verifyPassword(row.user, "secret"), row.right) << row.user;
        for (const char* wrong : {"", "Secret", "secret ", "*0", "*1"}) {
            EXPECT_EQ(store.verifyPassword(row.user, wrong), -1) << row.user << wrong;
        }
    }
    for (const char* user : {"unknown", "longer", "absent", ""}) {
        EXPECT_EQ(store.verifyPassword(user, "secret"), -1) << user;
    }
    EXPECT_EQ(AccountSources::systemShadowHash("no-such-user-here"), std::nullopt);
}

TEST_F(AccountStoreTest, FindsGroupsByPartsOfWords) {
    EXPECT_EQ(AccountStore(m_sources).groupNameOf("admin"), nullptr);
    EXPECT_EQ(AccountStore(m_sources).groupIdOf("admin"), 0);
    const auto gap = [](size_t size) { return std::string(size, '-'); };
    write(m_sources.group,
          "wheel:x:1:carol and other administrators\nadministrators:x:0:admin,bob\n"
          "everyone:x:100:admin,bob,dave\nfar" +
              gap(990) + "administrators\ntoo far" + gap(1016) + "administrators\n");
    const AccountStore store(m_sources);
    const struct {
        const char* user;
        const char* group;
        int id;
    } rows[] = {
        {"admin", "administrators", 0},  // a part of the group's own name
        {"bob", "everyone", 100},        // the group's name stands before the match
        {"carol", "administrators", 0},  // the word anywhere behind the match
        {"far", "administrators", 0},    // in a line of nearly 1023 bytes
        {"too far", "everyone", 100},    // beyond the 1023 bytes that count as the line
        {"nobody", "everyone", 100},
    };
    for (const auto& row : rows) {
        EXPECT_STREQ(store.groupNameOf(row.user), row.group) << row.user;
        EXPECT_EQ(store.groupIdOf(row.user), row.id) << row.user;
    }
}

}  // namespace
