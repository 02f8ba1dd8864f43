// The packages of the registry: can each descriptor be read, and does it say what is needed?
#include <sys/stat.h>
#include <unistd.h>

#include "client/doctor/check.h"
#include "companion/answer.h"
#include "support/confParser.h"
#include "support/serverPaths.h"
#include "support/wholeFile.h"
#include "support/xmlParser.h"

namespace client::doctor {
namespace {

constexpr std::string_view kDesktopClass = "Torvik";
constexpr const char* kFolder = "/.kallo/";
constexpr const char* kDescriptor = "kallo.xml";
constexpr const char* kRoot = "KALLO";

// The parser keeps the line feed of "Key=Value" in the value, which then equals nothing.
bool isWrittenTight(const std::string& value) {
    return value.ends_with('\n');
}

std::string faultOf(const XMLNode& descriptor, const std::string& folder) {
    const std::string name = companion::childText(descriptor, "name");
    if (name.empty()) {
        return "has no name";
    }
    if (companion::childText(descriptor, "vexaName") != name) {
        return "name and vexaName differ: it is listed, but never started";
    }
    if (companion::childText(descriptor, "start").empty()) {
        return "has no start command";
    }
    for (const char* element : {"icon_phone", "icon_pad"}) {
        const std::string icon = companion::childText(descriptor, element);
        const std::string path = icon.starts_with('/') ? icon : folder + icon;
        if (!icon.empty() && !support::isRegularFile(path.c_str())) {
            return std::string(element) + " names no file: " + path;
        }
    }
    return "";
}

std::string placeOf(const XMLResults& results) {
    std::string text = XMLNode::errorText(results.error);
    if (results.line != 0) {
        text += ", line " + std::to_string(results.line);
        text += ", column " + std::to_string(results.column);
    }
    return text;
}

Finding examineDescriptor(const std::string& section, const std::string& folder) {
    const std::string path = folder + kDescriptor;
    if (access(path.c_str(), F_OK) != 0) {
        return {section, Verdict::warning, "has no descriptor " + path,
                "install the package again, or take its section out of the registry"};
    }
    XMLResults results{};
    const XMLNode descriptor = XMLNode::parseXMLFile(path.c_str(), kRoot, &results);
    if (descriptor.isEmpty()) {
        return {section, Verdict::failed, path + ": " + placeOf(results), "mend the descriptor"};
    }
    if (results.error != XMLError::none) {
        return {section, Verdict::warning, path + ": " + placeOf(results), "mend the descriptor"};
    }
    const std::string fault = faultOf(descriptor, folder);
    if (!fault.empty()) {
        return {section, Verdict::warning, fault, "mend " + path};
    }
    struct stat status {};
    if (stat(folder.c_str(), &status) == 0 && (status.st_mode & 0022U) != 0) {
        return {section, Verdict::warning, "others can change what runs as root",
                "chmod go-w " + folder};
    }
    return {section, Verdict::ok, "its descriptor is sound"};
}

}  // namespace

Findings checkPackages(const Arguments& /*arguments*/) {
    Findings findings;
    ConfParser registry;
    if (!support::isRegularFile(server::kRegistryFile) ||
        registry.parseFile(server::kRegistryFile) != 0) {
        return {{server::kRegistryFile, Verdict::failed, "cannot be read", "run this as root"}};
    }
    for (unsigned index = 0; index < registry.getSectionCount(); ++index) {
        const std::string section = registry.getSectionName(index);
        const std::string kind = registry.getValue(section, "Class");
        const std::string folder = registry.getValue(section, "Install_Path") + kFolder;
        if (kind != kDesktopClass && !kind.starts_with(kDesktopClass)) {
            continue;
        }
        if (isWrittenTight(kind) || folder.find('\n') != std::string::npos ||
            isWrittenTight(registry.getValue(section, "Enable"))) {
            findings.push_back({section, Verdict::warning, "a line \"Key=Value\" has no effect",
                                "write it \"Key = Value\" in the registry"});
        } else {
            findings.push_back(examineDescriptor(section, folder));
        }
    }
    return findings;
}

}  // namespace client::doctor
