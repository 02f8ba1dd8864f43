#include "accounts/accountStore.h"

#include <crypt.h>
#include <shadow.h>
#include <unistd.h>

#include <array>
#include <cassert>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

#include "support/wholeFile.h"

namespace {

constexpr char kAdministrators[] = "administrators";
constexpr char kEveryone[] = "everyone";
constexpr int kAdministratorsId = 0;
constexpr int kEveryoneId = 100;

constexpr size_t kPortraitPathSize = 512;
constexpr size_t kLargestShadowEntry = size_t{1} << 20;

/// What counts as one line of an account file: at most `Size` - 1 bytes, line end included. What a
/// longer line holds beyond them comes as the next line.
template <size_t kSize>
using Line = std::array<char, kSize>;
using AccountLine = Line<512>;
using GroupLine = Line<1024>;

template <size_t kSize>
bool readLine(FILE* file, Line<kSize>& line) {
    return fgets(line.data(), static_cast<int>(line.size()), file) != nullptr;
}

/// Reads on to the first line that contains `word`; false when none does.
bool readLineWith(FILE* file, AccountLine& line, const char* word) {
    while (readLine(file, line)) {
        if (strstr(line.data(), word) != nullptr) {
            return true;
        }
    }
    return false;
}

/// Without opening it: a home is its user's own, who may have put a pipe or a link to a device
/// where the picture belongs.
bool canBeRead(const char* path) {
    return support::isRegularFile(path) && access(path, R_OK) == 0;
}

/// Whether crypt(3) makes `hash` out of `password` and the settings in `hash`.
bool isHashOf(const std::string& password, const std::string& hash) {
    // Some 32 KiB, too much to put on a stack without need.
    const auto work = std::make_unique<crypt_data>();
    const char* made = crypt_r(password.c_str(), hash.c_str(), work.get());
    // A hash text that crypt refuses gives a token that begins with "*", never a hash.
    const bool same = made != nullptr && made[0] != '*' && strcmp(made, hash.c_str()) == 0;
    explicit_bzero(work.get(), sizeof(*work));
    return same;
}

}  // namespace

std::optional<std::string> AccountSources::systemShadowHash(const std::string& user) {
    if (support::mayBlock(server::kSystemShadow)) {
        return std::nullopt;  // the C library opens it without a look
    }
    for (size_t size = 1024; size <= kLargestShadowEntry; size *= 2) {
        std::string buffer(size, '\0');
        spwd entry{};
        spwd* found = nullptr;
        if (getspnam_r(user.c_str(), &entry, buffer.data(), size, &found) == ERANGE) {
            continue;
        }
        if (found == nullptr || found->sp_pwdp == nullptr) {
            return std::nullopt;
        }
        return std::string(found->sp_pwdp);
    }
    return std::nullopt;
}

AccountStore::AccountStore() : AccountStore(AccountSources()) {}

AccountStore::AccountStore(AccountSources sources) : m_sources(std::move(sources)) {
    loadUsers_();
}

bool AccountStore::areHomesLinked_() const {
    const support::Stream file = support::openRegularStream(m_sources.serverConf.c_str());
    AccountLine line;
    return file != nullptr && readLineWith(file.get(), line, "HomeLink") &&
           strstr(line.data(), "TRUE") != nullptr;
}

/// The value of a line of the form "defVolMP = /share/VOLUME", as it stands: a line end belongs to
/// it, so only a line that ends the file without one leads to portraits.
std::string AccountStore::defaultVolume_() const {
    const support::Stream file = support::openRegularStream(m_sources.shareInfo.c_str());
    AccountLine line;
    if (file == nullptr || !readLineWith(file.get(), line, "defVolMP")) {
        return {};
    }
    const std::string_view text = line.data();
    const size_t equals = text.find('=');
    if (equals == std::string_view::npos || equals + 2 >= text.size()) {
        return {};
    }
    return std::string(text.substr(equals + 2));
}

std::string AccountStore::portraitOf_(const std::string& user, const HomesOrVolume& place) const {
    std::array<char, kPortraitPathSize> path{};
    if (place.homesLinked) {
        snprintf(path.data(), path.size(), "%s/%s/.zelvos_bgImg/portrait.jpg",
                 m_sources.homes.c_str(), user.c_str());
    } else {
        snprintf(path.data(), path.size(), "%s/.zelvos_bgImg/%s/portrait.jpg", place.volume.c_str(),
                 user.c_str());
    }
    return canBeRead(path.data()) ? path.data() : "";
}

void AccountStore::loadUsers_() {
    HomesOrVolume place{areHomesLinked_(), {}};
    if (!place.homesLinked) {
        place.volume = defaultVolume_();
    }
    const support::Stream file = support::openRegularStream(m_sources.shadow.c_str());
    if (file == nullptr) {
        return;
    }
    AccountLine line;
    while (readLine(file.get(), line)) {
        const std::string_view text = line.data();
        const size_t colon = text.find(':');
        const bool isGuest = text.find("guest") != std::string_view::npos;
        if (isGuest || colon == std::string_view::npos || text.substr(colon + 1).starts_with('!')) {
            continue;
        }
        const std::string name(text.substr(0, colon));
        m_users.push_back({name, portraitOf_(name, place)});
    }
}

bool AccountStore::isInShadowFile_(const std::string& user) const {
    const support::Stream file = support::openRegularStream(m_sources.shadow.c_str());
    if (file == nullptr) {
        return false;
    }
    char* line = nullptr;
    size_t capacity = 0;
    bool found = false;
    while (!found) {
        const ssize_t length = getline(&line, &capacity, file.get());
        if (length == -1) {
            break;
        }
        const std::string_view text(line, static_cast<size_t>(length));
        found = text.substr(0, text.find_first_of(":\n")) == user;
    }
    free(line);
    return found;
}

int AccountStore::verifyPassword(const std::string& user, const std::string& password) const {
    if (!isInShadowFile_(user)) {
        return -1;
    }
    const std::optional<std::string> hash = m_sources.shadowHash(user);
    return hash && isHashOf(password, *hash) ? 0 : -1;
}

const char* AccountStore::groupNameOf(const char* user) const {
    assert(user != nullptr);
    const support::Stream file = support::openRegularStream(m_sources.group.c_str());
    if (file == nullptr) {
        return nullptr;
    }
    GroupLine line;
    while (readLine(file.get(), line)) {
        if (const char* match = strstr(line.data(), user)) {
            return strstr(match, kAdministrators) != nullptr ? kAdministrators : kEveryone;
        }
    }
    return kEveryone;
}

int AccountStore::groupIdOf(const char* user) const {
    return groupNameOf(user) == kEveryone ? kEveryoneId : kAdministratorsId;
}
