// The server's users as the login needs them: who exists, where each one's portrait lies, whether
// a password is right, and which of the two groups a user counts to. A login builds a store afresh.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "support/serverPaths.h"

/// One server user.
struct UserEntry {
    std::string name;      ///< account name
    std::string portrait;  ///< full path of the portrait picture, empty when there is none
};

/// Where a store finds its facts: the server's own files and shadow database, unless a test
/// brings others.
struct AccountSources {
    /// Returns the hash text of `user` from a shadow database, nothing for an unknown user.
    using ShadowLookup = std::optional<std::string> (*)(const std::string& user);

    /// The system's shadow database, by getspnam_r(3). Any thread.
    static std::optional<std::string> systemShadowHash(const std::string& user);

    std::string serverConf = server::kServerConf;
    std::string shareInfo = "/etc/config/def_share.info";
    std::string shadow = server::kShadow;
    std::string group = server::kGroup;
    std::string homes = "/share/homes";
    ShadowLookup shadowHash = &systemShadowHash;
};

/// The account files of the server. A file that is missing is never an error: the store then just
/// knows less. An object belongs to one thread; several objects may be used at the same time.
class AccountStore {
  public:
    /// Loads the list of users from the server's files.
    AccountStore();

    /// Loads the list of users from `sources`.
    explicit AccountStore(AccountSources sources);

    /// The users that may log in, in the order of the shadow file: neither guests nor locked
    /// accounts. Valid as long as the store.
    const std::vector<UserEntry>& users() const& noexcept { return m_users; }
    const std::vector<UserEntry>& users() const&& = delete;

    /// Returns 0 when `password` is the password of `user`, and -1 otherwise: a wrong password, a
    /// user that the shadow file or the shadow database lacks, a hash text that crypt(3) refuses
    /// (locked and password-less accounts included). Guests, who are in no list, can be verified.
    int verifyPassword(const std::string& user, const std::string& password) const;

    /// Returns "administrators" or "everyone" (static texts), or null when the group file cannot be
    /// opened. Decided by the first line that contains `user` (not null) as a part of any word:
    /// "administrators" when that word follows in the line, from the match on.
    const char* groupNameOf(const char* user) const;

    /// Returns the id of the group of groupNameOf(): 0 (administrators) or 100 (everyone); 0 also
    /// when the group file cannot be opened.
    int groupIdOf(const char* user) const;

  private:
    /// Where portraits are kept: with linked homes in these, else on the default volume.
    struct HomesOrVolume {
        bool homesLinked;
        std::string volume;
    };

    bool areHomesLinked_() const;
    std::string defaultVolume_() const;
    std::string portraitOf_(const std::string& user, const HomesOrVolume& place) const;
    void loadUsers_();
    bool isInShadowFile_(const std::string& user) const;

    AccountSources m_sources;
    std::vector<UserEntry> m_users;
};
