// The gate as a whole: it listens, holds the connections, and obeys signals.
#pragma once

#include <memory>
#include <string>

#include "gate/settings.h"

namespace gate {

struct ServerOptions {
    std::string configFile;
    bool mayLack;  ///< no file is a file without keys
    std::string controlSocket;
    std::string stateDirectory;  ///< what has to survive a restart
};

/// Serves until SIGTERM or SIGINT; SIGHUP reads the file again. Returns the exit status of the
/// process. Throws SettingsError for the file, std::runtime_error when a port is taken or the
/// certificate is not to be had.
int serve(const ServerOptions& options);

}  // namespace gate
