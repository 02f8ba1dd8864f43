// kallogate: the front door of kalloagent. It speaks the agent's protocol to many clients at once
// and lets only sound requests through, one after the other.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <iostream>

#include "gate/controlClient.h"
#include "gate/controlSocket.h"
#include "gate/server.h"
#include "gate/web/stateFile.h"

namespace {

constexpr const char* kConfigFile = "/etc/kallogate.toml";

struct CommandLine {
    gate::ServerOptions server{kConfigFile, true, gate::kControlSocket, gate::kStateDirectory};
    bool asJson = false;
    std::string name;
    std::string id;
};

void addCommands(CLI::App& app, CommandLine& line) {
    CLI::App* const serve = app.add_subcommand("serve", "Serve until SIGTERM");
    CLI::App* const check = app.add_subcommand("check-config", "Read the settings and end");
    CLI::App* const status = app.add_subcommand("status", "Tell what the running gate does");
    CLI::App* const pair = app.add_subcommand("pair", "Show a code that pairs a phone");
    CLI::App* const devices = app.add_subcommand("devices", "List the paired phones");
    CLI::App* const revoke = app.add_subcommand("revoke", "Unpair a phone");
    for (CLI::App* const command : {serve, check}) {
        command->add_option("--config", line.server.configFile, "File of settings")
            ->capture_default_str();
    }
    serve->add_option("--state", line.server.stateDirectory, "Directory of what survives a restart")
        ->capture_default_str();
    for (CLI::App* const command : {serve, status, pair, devices, revoke}) {
        command
            ->add_option("--control", line.server.controlSocket,
                         "Socket by which the gate is told commands")
            ->capture_default_str();
    }
    for (CLI::App* const command : {status, pair, devices}) {
        command->add_flag("--json", line.asJson, "As JSON");
    }
    pair->add_option("--name", line.name, "Name of the phone (default: phone N)");
    revoke->add_option("ID", line.id, "As `devices` tells it")->required();
}

int checkConfig(const gate::ServerOptions& options) {
    gate::readSettings(options.configFile, options.mayLack);
    const bool isThere = access(options.configFile.c_str(), F_OK) == 0;
    std::cout << options.configFile << (isThere ? ": sound\n" : ": not there, the defaults hold\n");
    return 0;
}

int run(const std::string& command, const CommandLine& line) {
    const gate::ControlOptions control{line.server.controlSocket, line.asJson};
    if (command == "serve") {
        return gate::serve(line.server);
    }
    if (command == "check-config") {
        return checkConfig(line.server);
    }
    if (command == "status") {
        gate::printStatus(control);
    } else if (command == "pair") {
        gate::printPairing(control, line.name);
    } else if (command == "devices") {
        gate::printDevices(control);
    } else {
        gate::revokeDevice(control, line.id);
    }
    return 0;
}

int runCommandLine(int argc, char** argv) {
    CLI::App app("The front door of kalloagent.", "kallogate");
    app.set_version_flag("--version", "kallogate " KALLO_VERSION);
    app.require_subcommand(1);
    CommandLine line;
    addCommands(app, line);
    CLI11_PARSE(app, argc, argv);
    const CLI::App& command = *app.get_subcommands().front();
    const CLI::Option* const config = command.get_option_no_throw("--config");
    line.server.mayLack = config == nullptr || config->count() == 0;
    return run(command.get_name(), line);
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
