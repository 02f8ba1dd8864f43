#include "support/userIds.h"

#include <grp.h>
#include <pwd.h>
#include <strings.h>

#include <cerrno>
#include <vector>

#include "support/handles.h"

namespace {

constexpr size_t kFirstBuffer = 4096;

/// Runs `lookup(buffer, size)`, one of the *_r calls, with as much buffer as it asks for; returns
/// its last error number.
template <typename Lookup>
int withBuffer(std::vector<char>& buffer, Lookup lookup) {
    int error = 0;
    while ((error = lookup(buffer.data(), buffer.size())) == ERANGE) {
        buffer.resize(buffer.size() * 2);
    }
    return error;
}

}  // namespace

int uid_by_name(const char* name) {
    std::vector<char> buffer(kFirstBuffer);
    passwd entry{};
    passwd* found = nullptr;
    withBuffer(buffer, [&](char* data, size_t size) {
        return getpwnam_r(name, &entry, data, size, &found);
    });
    return found == nullptr ? -1 : static_cast<int>(found->pw_uid);
}

int uid_by_name_in_file(const char* name, const char* path) {
    const support::Stream file(fopen(path, "re"));
    if (!file) {
        return -1;
    }
    std::vector<char> buffer(kFirstBuffer);
    passwd entry{};
    passwd* found = nullptr;
    int uid = -1;
    while (uid == -1 && withBuffer(buffer, [&](char* data, size_t size) {
                            return fgetpwent_r(file.get(), &entry, data, size, &found);
                        }) == 0) {
        if (strcasecmp(found->pw_name, name) == 0) {
            uid = static_cast<int>(found->pw_uid);
        }
    }
    return uid;
}

int gid_by_name(const char* name) {
    std::vector<char> buffer(kFirstBuffer);
    group entry{};
    group* found = nullptr;
    withBuffer(buffer, [&](char* data, size_t size) {
        return getgrnam_r(name, &entry, data, size, &found);
    });
    return found == nullptr ? -1 : static_cast<int>(found->gr_gid);
}
