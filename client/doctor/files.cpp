// Files that the agent reads and writes: are they there, and for the right eyes?
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "client/doctor/check.h"
#include "support/serverPaths.h"

namespace client::doctor {
namespace {

constexpr mode_t kWritableByOthers = 0022;
constexpr mode_t kForOthers = 0077;

struct File {
    const char* path;
    Verdict missing;   ///< ok: it may be missing
    const char* lack;  ///< what comes of it
    mode_t forbidden;
    mode_t kind = S_IFREG;
};

constexpr File kFiles[] = {
    {server::kConfigDirectory, Verdict::failed, "there is no registry", kWritableByOthers, S_IFDIR},
    {server::kRegistryFile, Verdict::failed, "there are no packages", kWritableByOthers},
    {server::kServerConf, Verdict::warning, "apps see no model", kWritableByOthers},
    {server::kPlatformConf, Verdict::warning, "apps see no server name", kWritableByOthers},
    {server::kShadow, Verdict::failed, "nobody can log in", kForOthers},
    {server::kSystemShadow, Verdict::failed, "nobody can log in", kForOthers & ~mode_t{040}},
    {server::kGroup, Verdict::warning, "nobody is an administrator", kWritableByOthers},
    {"/root/.config/ZELV/KALLO.conf", Verdict::warning, "the agent never ran", kWritableByOthers},
    {server::kHandOverFile, Verdict::ok, "nobody has logged in", kForOthers},
};

Finding examine(const File& file) {
    struct stat status {};
    if (stat(file.path, &status) != 0) {
        return {file.path, file.missing, std::string("is missing: ") + file.lack,
                file.missing == Verdict::ok ? "" : "restore it from the firmware"};
    }
    if ((status.st_mode & S_IFMT) != file.kind) {
        return {file.path, Verdict::failed, "is no plain file or directory", "put it right"};
    }
    if (access(file.path, R_OK) != 0) {
        return {file.path, Verdict::failed, "cannot be read", "run this as root"};
    }
    if ((status.st_mode & file.forbidden) != 0) {
        char mode[8];
        snprintf(mode, sizeof mode, "%04o", static_cast<unsigned>(status.st_mode & 07777U));
        const char* const remedy =
            file.forbidden == kWritableByOthers ? "chmod go-w " : "chmod go= ";
        return {file.path, Verdict::warning, std::string("mode ") + mode + " lets others in",
                std::string(remedy) + file.path};
    }
    return {file.path, Verdict::ok, "is as it should be"};
}

}  // namespace

Findings checkFiles(const Arguments& /*arguments*/) {
    Findings findings;
    for (const File& file : kFiles) {
        findings.push_back(examine(file));
    }
    if (access(server::kCrashReport, F_OK) == 0) {
        findings.push_back({server::kCrashReport, Verdict::warning, "the agent has crashed",
                            "resolve the report as kalloagent(8) tells, then remove it"});
    }
    return findings;
}

}  // namespace client::doctor
