// Subcommand doctor: looks the server over that it runs on.
#include <unistd.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "client/commands.h"
#include "client/doctor/check.h"
#include "client/output.h"
#include "client/safeText.h"

namespace client {
namespace doctor {
namespace {

constexpr Check kChecks[] = {
    {"tools", checkTools},   {"files", checkFiles}, {"packages", checkPackages},
    {"agent", checkAgent},   {"port", checkPort},   {"session", checkSession},
    {"screen", checkScreen},
};

}  // namespace

std::span<const Check> checks() {
    return kChecks;
}

}  // namespace doctor

namespace {

constexpr const char* nameOf(doctor::Verdict verdict) {
    switch (verdict) {
        case doctor::Verdict::ok:
            return "ok";
        case doctor::Verdict::warning:
            return "warning";
        case doctor::Verdict::failed:
            return "failed";
    }
    return "";
}

}  // namespace

int runDoctor(const Arguments& arguments) {
    if (geteuid() != 0) {
        complain("the doctor has to be root, and on the server itself");
        return exitRefused;
    }
    std::vector<Row> rows = {{"STATE", "AREA", "WHAT", "FOUND", "REMEDY"}};
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    bool hasFailed = false;
    for (const doctor::Check& check : doctor::checks()) {
        for (const auto& [what, verdict, found, remedy] : check.run(arguments)) {
            hasFailed = hasFailed || verdict == doctor::Verdict::failed;
            rows.push_back(
                {nameOf(verdict), check.area, safeText(what), safeText(found), safeText(remedy)});
            list.push_back({{"state", nameOf(verdict)},
                            {"area", check.area},
                            {"what", what},
                            {"found", found},
                            {"remedy", remedy}});
        }
    }
    if (arguments.json) {
        printJson(list, true);
    } else {
        print(alignedTable(rows, isColourWanted()));
    }
    return hasFailed ? exitRefused : exitDone;
}

}  // namespace client
