// Stopping packages: the stop command of each, one after the other.
#include "packages/vexaManager.h"
#include "support/commandRunner.h"

void CVexaManager::stopAll() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const PackageListPtr list = packages();
    for (const PackageRecord& package : *list) {
        if (!package.stop.empty()) {
            exec_run(package.stop.c_str(), nullptr);
        }
    }
}
