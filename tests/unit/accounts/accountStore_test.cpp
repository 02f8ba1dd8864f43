#include "accounts/accountStore.h"

#include <map>

#include "folderTest.h"

static std::map<std::string, std::string> shadowDatabase;

static std::optional<std::string> lookUp(const std::string& user) {
    const auto found = shadowDatabase.find(user);
    return found == shadowDatabase.end() ? std::nullopt : std::optional(found->second);
}

struct Accounts : FolderTest {
    AccountStore store() const {
        return AccountStore({path("uVelt.conf"), path("def_share.info"), path("shadow"),
                             path("group"), path("homes"), lookUp});
    }
};

TEST_F(Accounts, ListUsersButGuestsAndLockedAccounts) {
    write("shadow",
          "admin:$6$a$b:1:0:99999:7:::\nguest:$6$a$b:1\nguest2:$6$a$b:1\n"
          "locked:!$6$a$b:1\ndaemon:*:1\nno colon\n\nopen::1\n");
    std::string names;
    const AccountStore all = store();
    for (const UserEntry& user : all.users()) {
        names += user.name + " ";
    }
    EXPECT_EQ(names, "admin daemon open ");
}

TEST_F(Accounts, VerifyPasswordsAgainstTheShadowDatabase) {
    const std::string md5 = "$1$abcdefgh$cHJi5PXp/ki/ktXzqlk6I1";
    shadowDatabase = {{"md5", md5},    {"des", "abNANd1rDfiNc"}, {"locked", "!" + md5},
                      {"star", "*"},   {"zero", "*0"},           {"one", "*1"},
                      {"longer", md5}, {"absent", md5},          {"empty", ""}};
    write("shadow", std::string(5000, 'x') +
                        "\nunknown:x\nlonger :x\nmd5:x\ndes:x\nlocked:x\nstar:x\nzero:x\n"
                        "one:x\nempty:x\n");
    const AccountStore all = store();
    for (const auto& [user, hash] : shadowDatabase) {
        const bool isGood = user == "md5" || user == "des";
        EXPECT_EQ(all.verifyPassword(user, "secret"), isGood ? 0 : -1) << user;
        for (const char* wrong : {"", "Secret", "secret ", "*0", "*1"}) {
            EXPECT_EQ(all.verifyPassword(user, wrong), -1) << user << wrong;
        }
    }
    EXPECT_EQ(all.verifyPassword("unknown", "secret"), -1);
}

TEST_F(Accounts, FindGroupsByPartsOfWords) {
    EXPECT_EQ(store().groupNameOf("admin"), nullptr);
    EXPECT_EQ(store().groupIdOf("admin"), 0);
    write("group",
          "wheel:x:1:carol and other administrators\nadministrators:x:0:admin,bob\n"
          "everyone:x:100:admin,bob,dave\n");
    const std::tuple<const char*, const char*, int> rows[] = {
        {"admin", "administrators", 0},  // a part of the group's own name
        {"bob", "everyone", 100},        // the group's name stands before the match
        {"carol", "administrators", 0},  // the word anywhere behind the match
        {"nobody", "everyone", 100},
    };
    const AccountStore all = store();
    for (const auto& [user, group, id] : rows) {
        EXPECT_STREQ(all.groupNameOf(user), group) << user;
        EXPECT_EQ(all.groupIdOf(user), id) << user;
    }
}
