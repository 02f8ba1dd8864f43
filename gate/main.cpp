// kallogate: the front door of kalloagent. It speaks the agent's protocol to many clients at once
// and lets only sound requests through, one after the other.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <iostream>

#include "gate/controlSocket.h"
#include "gate/server.h"

namespace {

constexpr const char* kConfigFile = "/etc/kallogate.toml";

int run(CLI::App& app, const gate::ServerOptions& options, bool asJson) {
    if (app.got_subcommand("status")) {
        return gate::printStatus(options.controlSocket, asJson);
    }
    if (app.got_subcommand("check-config")) {
        gate::readSettings(options.configFile, options.mayLack);
        const bool isThere = access(options.configFile.c_str(), F_OK) == 0;
        std::cout << options.configFile
                  << (isThere ? ": sound\n" : ": not there, the defaults hold\n");
        return 0;
    }
    return gate::serve(options);
}

int runCommandLine(int argc, char** argv) {
    CLI::App app("The front door of kalloagent.", "kallogate");
    app.set_version_flag("--version", "kallogate " KALLO_VERSION);
    app.require_subcommand(1);
    gate::ServerOptions options{kConfigFile, true, gate::kControlSocket};
    bool asJson = false;
    CLI::App* const serve = app.add_subcommand("serve", "Serve until SIGTERM");
    CLI::App* const check = app.add_subcommand("check-config", "Read the settings and end");
    CLI::App* const status = app.add_subcommand("status", "Tell what the running gate does");
    for (CLI::App* const command : {serve, check}) {
        command->add_option("--config", options.configFile, "File of settings")
            ->capture_default_str();
    }
    for (CLI::App* const command : {serve, status}) {
        command->add_option("--control", options.controlSocket, "Socket that tells the status")
            ->capture_default_str();
    }
    status->add_flag("--json", asJson, "As JSON");
    CLI11_PARSE(app, argc, argv);
    options.mayLack = serve->count("--config") + check->count("--config") == 0;
    return run(app, options, asJson);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return runCommandLine(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "kallogate: " << error.what() << '\n';
        return 1;
    }
}
