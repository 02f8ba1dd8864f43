// Subcommand discover: the servers of the network.
#include <nlohmann/json.hpp>

#include "client/commands.h"
#include "client/discover.h"
#include "client/output.h"
#include "client/safeText.h"

namespace client {

int runDiscover(const Arguments& arguments) {
    std::vector<Server> servers;
    const std::string fault = findServers(arguments.timeoutSeconds, servers);
    if (!fault.empty()) {
        complain(fault);
        return exitFailed;
    }
    std::vector<Row> rows = {{"NAME", "HOST", "ADDRESS", "PORT"}};
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const auto& [name, host, address, port] : servers) {
        rows.push_back({safeText(name), safeText(host), address, std::to_string(port)});
        list.push_back({{"name", name}, {"host", host}, {"address", address}, {"port", port}});
    }
    if (arguments.json) {
        printJson(list, true);
    } else if (servers.empty()) {
        complain("no server announces itself on this network");
    } else {
        print(alignedTable(rows, isColourWanted()));
    }
    return servers.empty() ? exitFailed : exitDone;
}

}  // namespace client
