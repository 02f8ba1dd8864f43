// Reading the package registry, and walking it as the package catalogue does, side by side with
// GLib's key-file reader on the same file. Argument: lines of the registry. A registry of headers
// that are never closed lists a section at each of them; its argument is its size in bytes.
#include "support/confParser.h"

#include <benchmark/benchmark.h>
#include <glib.h>

#include <malloc.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

namespace {

constexpr int kLinesOfPackage = 12;

/// As many packages as give about `lines` lines.
void writePackages(std::ofstream& text, int64_t lines) {
    for (int64_t package = 0; package < lines / kLinesOfPackage; ++package) {
        text << "[Package" << package << "]\n"
             << "Name = Package" << package << "\n"
             << "Display_Name = A package for the television, number " << package << "\n"
             << "Class = Torvik\n"
             << "Version = 1.2." << package << "\n"
             << "Install_Path = /share/CACHEDEV1_DATA/.vexa/Package" << package << "\n"
             << "Author = Somebody\n"
             << "Date = 2024-05-17\n"
             << "AdminOnly = FALSE\n"
             << "Enable = TRUE\n"
             << "Shell = /share/CACHEDEV1_DATA/.vexa/Package" << package << "/start.sh\n"
             << "RC_Number = 101\n";
    }
}

/// One section of about `bytes`, a header without its end before each entry.
void writeBroken(std::ofstream& text, int64_t bytes) {
    text << "[Player]\n";
    for (int64_t entry = 0; text.tellp() < bytes; ++entry) {
        text << "[Broken\nKey" << entry << " = value\n";
    }
}

/// A registry in a file of its own.
class Registry {
  public:
    explicit Registry(int64_t size, void (*write)(std::ofstream&, int64_t) = writePackages) {
        const int file = mkstemp(m_path.data());
        if (file == -1) {
            abort();
        }
        std::ofstream text(m_path);
        write(text, size);
    }
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;
    ~Registry() { std::filesystem::remove(m_path); }

    const std::string& path() const { return m_path; }

  private:
    std::string m_path = std::filesystem::temp_directory_path() / "registry.XXXXXX";
};

using KeyFile = std::unique_ptr<GKeyFile, decltype(&g_key_file_unref)>;

KeyFile readWithGlib(const Registry& registry) {
    KeyFile file(g_key_file_new(), g_key_file_unref);
    if (g_key_file_load_from_file(file.get(), registry.path().c_str(), G_KEY_FILE_NONE, nullptr) ==
        FALSE) {
        abort();
    }
    return file;
}

constexpr const char* kCatalogueKeys[] = {"Class", "Install_Path", "Enable"};

void parseOurs(benchmark::State& state) {
    const Registry registry(state.range(0));
    for (auto _ : state) {
        ConfParser parser;
        benchmark::DoNotOptimize(parser.parseFile(registry.path()));
    }
}

void parseBroken(benchmark::State& state) {
    const Registry registry(state.range(0), writeBroken);
    const auto heap = [] { return mallinfo2().uordblks + mallinfo2().hblkhd; };
    const size_t before = heap();
    for (auto _ : state) {
        ConfParser parser;
        benchmark::DoNotOptimize(parser.parseFile(registry.path()));
        state.counters["heap bytes/byte"] =
            static_cast<double>(heap() - before) / static_cast<double>(state.range(0));
    }
}

void parseGlib(benchmark::State& state) {
    const Registry registry(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(readWithGlib(registry).get());
    }
}

void catalogueOurs(benchmark::State& state) {
    const Registry registry(state.range(0));
    for (auto _ : state) {
        ConfParser parser;
        parser.parseFile(registry.path());
        for (unsigned index = 0; index < parser.getSectionCount(); ++index) {
            const std::string section = parser.getSectionName(index);
            for (const char* key : kCatalogueKeys) {
                benchmark::DoNotOptimize(parser.getValue(section, key));
            }
        }
    }
}

void catalogueGlib(benchmark::State& state) {
    const Registry registry(state.range(0));
    for (auto _ : state) {
        const KeyFile file = readWithGlib(registry);
        gchar** sections = g_key_file_get_groups(file.get(), nullptr);
        for (gchar** section = sections; *section != nullptr; ++section) {
            for (const char* key : kCatalogueKeys) {
                gchar* value = g_key_file_get_value(file.get(), *section, key, nullptr);
                benchmark::DoNotOptimize(value);
                g_free(value);
            }
        }
        g_strfreev(sections);
    }
}

BENCHMARK(parseOurs)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(parseGlib)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(parseBroken)->Arg(59'000)->Arg(1'000'000)->Arg(10'000'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(catalogueOurs)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(catalogueGlib)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);

}  // namespace
