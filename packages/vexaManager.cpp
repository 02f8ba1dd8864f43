#include "packages/vexaManager.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "packages/packageReader.h"
#include "packages/registry.h"
#include "support/commandOutput.h"
#include "support/commandRunner.h"
#include "support/logLine.h"
#include "support/wordSplit.h"

namespace {

constexpr uint32_t kRegistryChange = IN_MODIFY | IN_CLOSE_WRITE | IN_MOVED_TO;
constexpr const char* kChecksumCommand =
    "/usr/bin/md5sum /etc/config/vexa.conf | /usr/bin/awk '{print $1}'";
constexpr size_t kChecksumOutput = 128;

std::string registryChecksum() {
    return support::readCommandOutput(support::splitWords(kChecksumCommand), kChecksumOutput)
        .value_or(std::string());
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
    if (stat(packages::kRegistryFile, &status) != 0) {
        return {};
    }
    return {status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

bool isRegistryChange(const inotify_event& event) {
    return event.len > 0 && strcmp(event.name, packages::kRegistryName) == 0 &&
           (event.mask & kRegistryChange) != 0;
}

}  // namespace

CVexaManager::CVexaManager() {
    if (m_dirMonitor.Init() != 0) {
        support::printError("[%s][%s][%d][err] m_dirMonitor.Init()\n", "vexaManager",
                            "CVexaManager::CVexaManager()", __LINE__);
        exit(0);
    }
    m_dirMonitor.AddWatch(packages::kRegistryDirectory, kRegistryChange);
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

void CVexaManager::stopAll() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const PackageListPtr list = packages();
    for (const PackageRecord& package : *list) {
        if (!package.stop.empty()) {
            exec_run(package.stop.c_str(), nullptr);
        }
    }
}

int CVexaManager::OnEvent(corex::Inotify& /*source*/, const inotify_event* event,
                          const std::string& /*watchedPath*/) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!isRegistryChange(*event)) {
        return 0;
    }
    const RegistryStamp before = registryStamp();
    std::string checksum = registryChecksum();
    if (checksum != m_checksum) {
        reload_();
        m_refreshed = true;
        // A change in the meantime brings another event, which must find this list outdated even
        // when it brings the former content back.
        m_checksum = registryStamp() == before ? std::move(checksum) : std::string();
    }
    return 0;
}

void CVexaManager::reload_() {
    PackageListPtr fresh = packages::readPackages();
    const std::lock_guard<std::mutex> lock(m_currentMutex);
    // The former list is released by its last reader.
    m_current.swap(fresh);
}

const PackageRecord* findPackage(const PackageList& list, const std::string& name) {
    const auto found = std::find_if(list.begin(), list.end(), [&name](const PackageRecord& record) {
        return record.name == name;
    });
    return found == list.end() ? nullptr : &*found;
}
