// kalloctl: the command-line companion of kalloagent and the reference client of its protocol.
#include "client/commandLine.h"

int main(int argc, char** argv) {
    return client::runCommandLine(argc, argv);
}
