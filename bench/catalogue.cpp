// Building the catalogue of packages, beside the same work with one run of the registry tool after
// the other. Run in the box. Argument: packages.
#include <benchmark/benchmark.h>

#include "installedPackages.h"
#include "packages/packageReader.h"
#include "support/commandOutput.h"
#include "support/confParser.h"
#include "support/configTool.h"
#include "support/serverPaths.h"
#include "support/xmlParser.h"

namespace {

void reload(benchmark::State& state) {
    installPackages(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(packages::readPackages());
    }
}

void reloadOneByOne(benchmark::State& state) {
    installPackages(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        ConfParser registry;
        registry.parseFile(server::kRegistryFile);
        for (unsigned index = 1; index < registry.getSectionCount(); ++index) {
            const std::string name = registry.getSectionName(index);
            const std::string folder = registry.getValue(name, "Install_Path");
            benchmark::DoNotOptimize(
                XMLNode::parseXMLFile((folder + "/.kallo/kallo.xml").c_str(), "KALLO"));
            for (const char* key : {"Display_Name", "AdminOnly", "Version"}) {
                benchmark::DoNotOptimize(support::readCommandOutput(
                    support::configReadWords(name, key, "null", server::kRegistryFile), 128));
            }
        }
    }
}

BENCHMARK(reload)->Arg(200)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(reloadOneByOne)->Arg(200)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
