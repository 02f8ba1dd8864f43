#include "packages/packageReader.h"

#include <crypt.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstring>

#include "packages/registry.h"
#include "support/commandOutput.h"
#include "support/commandRunner.h"
#include "support/confParser.h"
#include "support/logLine.h"
#include "support/xmlParser.h"

namespace packages {
namespace {

constexpr const char* kDesktopClass = "Torvik";
constexpr const char* kDescriptorFolder = "/.kallo/";
constexpr const char* kDescriptorName = "kallo.xml";
constexpr const char* kDescriptorRoot = "KALLO";
constexpr const char* kIdentifierSalt = "Kq";
constexpr const char* kAbsent = "null";
constexpr size_t kIdentifierSource = 128;
constexpr size_t kRegistryValue = 128;

/// Reads one key through the registry tool, at most 128 bytes of its answer up to the first NUL.
/// Returns 0, or -1 when the tool could not be started, which leaves `value` as it was.
int readRegistry(const std::string& section, const char* key, const char* fallback,
                 std::string& value) {
    std::vector<std::string> words{kReadTool, section, key};
    if (fallback != nullptr) {
        words.insert(words.end(), {"-d", fallback});
    }
    words.insert(words.end(), {"-f", kRegistryFile});
    const auto output = support::readCommandOutput(words, kRegistryValue);
    if (!output) {
        return -1;
    }
    value = output->substr(0, output->find('\0'));
    return 0;
}

/// The trimmed value of a key; `fallback` also when the tool is missing and so printed nothing.
std::string registryValue(const std::string& section, const char* key, const char* fallback) {
    std::string value;
    if (readRegistry(section, key, fallback, value) != 0 || value.empty()) {
        return fallback;
    }
    trim_whitespace(value.data());
    value.resize(strlen(value.data()));
    return value;
}

std::string elementText(const XMLNode& descriptor, const char* element) {
    const char* text = descriptor.childNode(element).text();
    return text == nullptr ? std::string() : std::string(text);
}

std::string identifierOf(const PackageRecord& record) {
    char source[kIdentifierSource];
    snprintf(source, sizeof source, "%s%s", record.name.c_str(), record.vexaName.c_str());
    const auto scratch = std::make_unique<crypt_data>();
    const char* identifier = crypt_r(source, kIdentifierSalt, scratch.get());
    return identifier == nullptr ? std::string() : std::string(identifier);
}

std::string iconPath(const XMLNode& descriptor, const char* element, const std::string& folder) {
    const std::string text = elementText(descriptor, element);
    return text.empty() || text.front() == '/' ? text : folder + text;
}

void readRegistryFields(const XMLNode& descriptor, PackageRecord& record) {
    record.Display_Name = registryValue(record.name, "Display_Name", kAbsent);
    if (record.Display_Name == kAbsent) {
        record.Display_Name = record.name;
    }
    record.AdminOnly = registryValue(record.name, "AdminOnly", "FALSE") == "TRUE";
    record.Version = registryValue(record.name, "Version", kAbsent);
    if (record.Version == kAbsent) {
        record.Version = elementText(descriptor, "Version");
    }
}

/// Fills a record from the descriptor below `installPath`; false when there is none to be read.
bool readPackage(const ConfParser& registry, const std::string& section, PackageRecord& record) {
    const std::string folder = registry.getValue(section, "Install_Path") + kDescriptorFolder;
    const std::string path = folder + kDescriptorName;
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return false;
    }
    const XMLNode descriptor = XMLNode::parseXMLFile(path.c_str(), kDescriptorRoot);
    if (descriptor.isEmpty()) {
        return false;
    }
    record.name = elementText(descriptor, "name");
    record.vexaName = elementText(descriptor, "vexaName");
    readRegistryFields(descriptor, record);
    record.identifier = identifierOf(record);
    record.start = elementText(descriptor, "start");
    record.stop = elementText(descriptor, "stop");
    record.exe_filename = elementText(descriptor, "exe_filename");
    record.multiwin = elementText(descriptor, "multiwin") == "yes";
    if (!record.vexaName.empty()) {
        support::printOut(">>>vexaName:%s\n", record.vexaName.c_str());
    }
    record.Enable = registry.getValue(section, "Enable") != "FALSE";
    record.phoneIcon = iconPath(descriptor, "icon_phone", folder);
    record.padIcon = iconPath(descriptor, "icon_pad", folder);
    return true;
}

}  // namespace

PackageListPtr readPackages() {
    auto list = std::make_shared<PackageList>();
    ConfParser registry;
    registry.parseFile(kRegistryFile);
    for (unsigned index = 0; index < registry.getSectionCount(); ++index) {
        const std::string section = registry.getSectionName(index);
        if (registry.getValue(section, "Class") != kDesktopClass) {
            continue;
        }
        PackageRecord record;
        if (readPackage(registry, section, record)) {
            list->push_back(std::move(record));
        }
    }
    return list;
}

}  // namespace packages
