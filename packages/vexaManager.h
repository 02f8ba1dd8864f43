// The catalogue of installed desktop packages: kept fresh by a watcher on the registry, read by the
// client commands, and the place from which packages are started and stopped.
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "packages/packageRecord.h"
#include "support/inotify.h"

class CVexaManager final : public corex::InotifyObserver {
  public:
    /// Starts watching the registry's directory, then builds the catalogue. A watcher that cannot
    /// be initialised ends the process with status 0 after a line on standard error.
    CVexaManager();
    CVexaManager(const CVexaManager&) = delete;
    CVexaManager& operator=(const CVexaManager&) = delete;
    ~CVexaManager() override = default;

    /// The catalogue as it stands; it stays as it is for as long as the caller keeps it, whatever
    /// a refresh does meanwhile. Never null. Any thread, never waits for a refresh or a stop.
    [[nodiscard]] PackageListPtr packages() const;

    /// True for the first caller after a refresh rebuilt the catalogue; the building at start does
    /// not count. Reads and clears in one step. Any thread.
    bool takeRefreshed() noexcept;

    /// The process-match text of the first package of that name; empty when there is none.
    [[nodiscard]] std::string exeFilename(const std::string& name) const;

    /// 1 when the first package of that name may have several windows, else 0.
    [[nodiscard]] int multiWindow(const std::string& name) const;

    /// Starts the first package whose `vexaName` is the argument: its start command runs through
    /// the shell in a session of its own, in "/", with each variable of `env` set to its delivered
    /// text, later entries over earlier ones. With `wait` the call returns when the command has
    /// ended, else at once, and the command belongs to init. Returns 0 when there is no such
    /// package and -1 otherwise, whether or not the start succeeded. Request thread.
    int startVexaExec(const std::string& vexaName, const std::vector<exportEnv_s>& env, bool wait);

    /// Runs the stop program of every package that has one, one after the other, in catalogue
    /// order, and waits for each; a refresh waits meanwhile. Failures are not reported.
    void stopAll();

    /// Refreshes the catalogue when the registry was written and its checksum changed. Called by
    /// the watcher thread.
    int OnEvent(corex::Inotify& source, const inotify_event* event,
                const std::string& watchedPath) override;

  private:
    void refresh_();
    void reload_();

    std::mutex m_mutex;                 ///< one refresh or stop-all at a time
    mutable std::mutex m_currentMutex;  ///< held just to copy or replace m_current
    PackageListPtr m_current = std::make_shared<const PackageList>();
    std::string m_checksum;  ///< of the registry at the last refresh, guarded by m_mutex
    std::atomic<bool> m_refreshed{false};
    corex::Inotify m_dirMonitor;  ///< last, so that its thread ends before what it uses
};

/// The first package of that name in catalogue order, or null. The result lives as long as `list`.
const PackageRecord* findPackage(const PackageList& list, const std::string& name);
