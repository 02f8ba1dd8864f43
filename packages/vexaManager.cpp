#include "packages/vexaManager.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <string_view>

#include "packages/packageReader.h"
#include "support/commandOutput.h"
#include "support/logLine.h"
#include "support/process/wordSplit.h"
#include "support/serverPaths.h"
#include "support/wholeFile.h"

namespace {

constexpr uint32_t kRegistryChange = IN_MODIFY | IN_CLOSE_WRITE | IN_MOVED_TO;
constexpr const char* kChecksumTool = "/usr/bin/md5sum ";
constexpr const char* kChecksumColumn = " | /usr/bin/awk '{print $1}'";
constexpr size_t kChecksumOutput = 128;

/// Empty when none can be made. The tool would wait at a pipe, and everybody with it who needs the
/// catalogue's mutex.
std::string registryChecksum() {
    if (support::mayBlock(server::kRegistryFile)) {
        return {};
    }
    const std::string command =
        std::string(kChecksumTool) + server::kRegistryFile + kChecksumColumn;
    return support::readCommandOutput(support::splitWords(command), kChecksumOutput).value_or("");
}

/// Tells one writing of the registry from another, also when both wrote the same.
struct RegistryStamp {
    ino_t inode = 0;
    off_t size = 0;
    time_t seconds = 0;
    long nanoseconds = 0;

    bool operator==(const RegistryStamp&) const = default;
};

RegistryStamp registryStamp() {
    struct stat status {};
    if (stat(server::kRegistryFile, &status) != 0) {
        return {};
    }
    return {status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

std::string_view registryName() {
    const std::string_view path = server::kRegistryFile;
    return path.substr(path.rfind('/') + 1);
}

bool isRegistryChange(const inotify_event& event) {
    return event.len > 0 && event.name == registryName() && (event.mask & kRegistryChange) != 0;
}

}  // namespace

CVexaManager::CVexaManager() {
    if (m_dirMonitor.Init() != 0) {
        support::printError("[%s][%s][%d][err] m_dirMonitor.Init()\n", "vexaManager",
                            "CVexaManager::CVexaManager()", __LINE__);
        exit(0);
    }
    m_dirMonitor.AddWatch(server::kConfigDirectory, kRegistryChange);
    m_dirMonitor.AddObserver(this);
    m_dirMonitor.Start();
    const std::lock_guard<std::mutex> lock(m_mutex);
    reload_();
}

PackageListPtr CVexaManager::packages() const {
    const std::lock_guard<std::mutex> lock(m_currentMutex);
    return m_current;
}

bool CVexaManager::takeRefreshed() noexcept {
    return m_refreshed.exchange(false);
}

std::string CVexaManager::exeFilename(const std::string& name) const {
    const PackageListPtr list = packages();
    const PackageRecord* package = findPackage(*list, name);
    return package == nullptr ? std::string() : package->exe_filename;
}

int CVexaManager::multiWindow(const std::string& name) const {
    const PackageListPtr list = packages();
    const PackageRecord* package = findPackage(*list, name);
    return package != nullptr && package->multiwin ? 1 : 0;
}

int CVexaManager::OnEvent(corex::Inotify& /*source*/, const inotify_event* event,
                          const std::string& /*watchedPath*/) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (isRegistryChange(*event)) {
        try {
            refresh_();
        } catch (const std::bad_alloc&) {
            // The list in force stays until the next change: a registry of any size must not end
            // the process.
            m_checksum.clear();
        }
    }
    return 0;
}

void CVexaManager::refresh_() {
    const RegistryStamp before = registryStamp();
    std::string checksum = registryChecksum();
    if (checksum == m_checksum) {
        return;
    }
    reload_();
    m_refreshed = true;
    // A change in the meantime brings another event, which must find this list outdated even when
    // it brings the former content back.
    m_checksum = registryStamp() == before ? std::move(checksum) : std::string();
}

void CVexaManager::reload_() {
    PackageListPtr fresh = packages::readPackages();
    const std::lock_guard<std::mutex> lock(m_currentMutex);
    // The former list is released by its last reader.
    m_current.swap(fresh);
}

const PackageRecord* findPackage(const PackageList& list, const std::string& name) {
    const auto found = std::ranges::find(list, name, &PackageRecord::name);
    return found == list.end() ? nullptr : &*found;
}
