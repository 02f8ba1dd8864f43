// The XML library beside three others: parse (with release), render and walk the list of packages
// that a phone asks for, from one package to 10 MB of them. Items are packages.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <tinyxml2.h>

#include <cstdlib>
#include <pugixml.hpp>
#include <string>

#include "support/xmlParser.h"

namespace {

constexpr int usualPackages = 200;
constexpr int packagesIn10MB = 39000;

std::string packageList(int packages) {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ZelvDocRoot version=\"1.2\">\n"
        "\t<torvik_ver>\n\t\t2.1.0\n\t</torvik_ver>\n\t<errRtn>\n\t\tsuccess\n\t</errRtn>\n";
    for (int i = 0; i < packages; ++i) {
        const std::string number = std::to_string(i);
        const std::string fields[][2] = {
            {"name", "Package" + number}, {"displayName", "Media &amp; Photos " + number},
            {"version", "1.4." + number}, {"uuid", "$1$vexa$kq0GfJ8tYc5bPz" + number},
            {"icon_phone", "yes"},        {"icon_pad", "no"}};
        text += "\t<item>\n";
        for (const auto& [name, value] : fields) {
            text.append("\t\t<").append(name).append(">\n\t\t\t").append(value);
            text.append("\n\t\t</").append(name).append(">\n");
        }
        text += "\t</item>\n";
    }
    return text + "</ZelvDocRoot>\n";
}

void countWork(benchmark::State& state, const std::string& text) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void parseOwn(benchmark::State& state) {
    const std::string text = packageList(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        const XMLNode root = XMLNode::parseString(text.c_str(), "ZelvDocRoot");
        benchmark::DoNotOptimize(root.childCount());
    }
    countWork(state, text);
}

void parseTinyxml2(benchmark::State& state) {
    const std::string text = packageList(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        tinyxml2::XMLDocument document;
        document.Parse(text.data(), text.size());
        benchmark::DoNotOptimize(document.RootElement());
    }
    countWork(state, text);
}

void parseLibxml2(benchmark::State& state) {
    const std::string text = packageList(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        const xmlDocPtr document = xmlReadMemory(text.data(), static_cast<int>(text.size()),
                                                 nullptr, nullptr, XML_PARSE_NOBLANKS);
        benchmark::DoNotOptimize(xmlDocGetRootElement(document));
        xmlFreeDoc(document);
    }
    countWork(state, text);
}

void parsePugixml(benchmark::State& state) {
    const std::string text = packageList(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        pugi::xml_document document;
        document.load_buffer(text.data(), text.size(),
                             pugi::parse_default | pugi::parse_trim_pcdata);
        benchmark::DoNotOptimize(document.document_element());
    }
    countWork(state, text);
}

void renderOwn(benchmark::State& state) {
    const std::string text = packageList(static_cast<int>(state.range(0)));
    const XMLNode root = XMLNode::parseString(text.c_str(), "ZelvDocRoot");
    for (auto _ : state) {
        int size = 0;
        char* const rendered = root.createString(1, &size);
        benchmark::DoNotOptimize(rendered);
        free(rendered);
    }
    countWork(state, text);
}

void renderTinyxml2(benchmark::State& state) {
    const std::string text = packageList(static_cast<int>(state.range(0)));
    tinyxml2::XMLDocument document(true, tinyxml2::COLLAPSE_WHITESPACE);
    document.Parse(text.data(), text.size());
    for (auto _ : state) {
        tinyxml2::XMLPrinter printer;
        document.Print(&printer);
        benchmark::DoNotOptimize(printer.CStr());
    }
    countWork(state, text);
}

void renderLibxml2(benchmark::State& state) {
    const std::string text = packageList(static_cast<int>(state.range(0)));
    const xmlDocPtr document = xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr,
                                             nullptr, XML_PARSE_NOBLANKS);
    for (auto _ : state) {
        xmlChar* rendered = nullptr;
        int size = 0;
        xmlDocDumpFormatMemory(document, &rendered, &size, 1);
        benchmark::DoNotOptimize(rendered);
        xmlFree(rendered);
    }
    countWork(state, text);
    xmlFreeDoc(document);
}

void renderPugixml(benchmark::State& state) {
    struct StringWriter final : pugi::xml_writer {
        void write(const void* data, size_t size) override {
            text.append(static_cast<const char*>(data), size);
        }
        std::string text;
    };
    const std::string text = packageList(static_cast<int>(state.range(0)));
    pugi::xml_document document;
    document.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_trim_pcdata);
    for (auto _ : state) {
        StringWriter writer;
        document.save(writer);
        benchmark::DoNotOptimize(writer.text.data());
    }
    countWork(state, text);
}

/// Walks all packages by name and index pointer, as a client does that reads the list.
void walkOwn(benchmark::State& state) {
    const std::string text = packageList(static_cast<int>(state.range(0)));
    const XMLNode root = XMLNode::parseString(text.c_str(), "ZelvDocRoot");
    for (auto _ : state) {
        int index = 0;
        for (XMLNode item = root.childNode("item", &index); !item.isEmpty();
             item = root.childNode("item", &index)) {
            benchmark::DoNotOptimize(item.childNode("uuid").text());
        }
    }
    countWork(state, text);
}

/// Builds the answer's tree node by node.
void buildOwn(benchmark::State& state) {
    const std::string text = packageList(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        XMLNode root = XMLNode::createTopNode("ZelvDocRoot");
        root.addAttribute("version", "1.2");
        for (int64_t i = 0; i < state.range(0); ++i) {
            XMLNode item = root.addChild("item");
            for (const char* const name :
                 {"name", "displayName", "version", "uuid", "icon_phone", "icon_pad"}) {
                item.addChild(name).addText("Media & Photos");
            }
        }
        benchmark::DoNotOptimize(root.childCount());
    }
    countWork(state, text);
}

// The list of a well-filled server, by all four.
BENCHMARK(parseOwn)->Arg(usualPackages);
BENCHMARK(parseTinyxml2)->Arg(usualPackages);
BENCHMARK(parseLibxml2)->Arg(usualPackages);
BENCHMARK(parsePugixml)->Arg(usualPackages);
BENCHMARK(renderOwn)->Arg(usualPackages);
BENCHMARK(renderTinyxml2)->Arg(usualPackages);
BENCHMARK(renderLibxml2)->Arg(usualPackages);
BENCHMARK(renderPugixml)->Arg(usualPackages);

// How the cost grows: the items per second stay the same.
BENCHMARK(parseOwn)->Arg(1)->Arg(10)->Arg(1000)->Arg(10000)->Arg(packagesIn10MB);
BENCHMARK(renderOwn)->Arg(1)->Arg(10)->Arg(1000)->Arg(10000)->Arg(packagesIn10MB);
BENCHMARK(walkOwn)->Arg(usualPackages)->Arg(packagesIn10MB);
BENCHMARK(buildOwn)->Arg(usualPackages)->Arg(packagesIn10MB);

}  // namespace
