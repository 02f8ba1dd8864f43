// What a command line of kalloctl says, options and operands of every subcommand in one record;
// commandLine.cpp fills it, the subcommands read it.
#pragma once

#include <chrono>
#include <string>

namespace client {

struct Arguments {
    std::string host = "127.0.0.1";  ///< as written, until takeAddress took it apart
    int port = 0;                    ///< 0: not given
    double timeoutSeconds = 10;
    bool json = false;

    std::string package;
    std::string device;
    std::string output;
    std::string user;
    std::string choice;
    std::string request;
    bool namesOnly = false;
    bool plain = false;
    bool passwordStdin = false;
    bool local = false;
    double intervalSeconds = 2;
    double waitSeconds = 0;  ///< 0: not at all
    std::string topic;
};

inline std::chrono::milliseconds millisecondsOf(double seconds) {
    return std::chrono::milliseconds(static_cast<long>(seconds * 1000));
}

}  // namespace client
