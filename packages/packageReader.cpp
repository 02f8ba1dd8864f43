#include "packages/packageReader.h"

#include <crypt.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "support/commandOutput.h"
#include "support/confParser.h"
#include "support/configTool.h"
#include "support/logLine.h"
#include "support/serverPaths.h"
#include "support/text.h"
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

/// A value that the registry tool has been asked for and prints while others are asked for.
class RegistryValue {
  public:
    /// `fallback` is what an absent key, and a tool that cannot be run, come to.
    RegistryValue(const std::string& section, const char* key, const char* fallback)
        : m_fallback(fallback),
          m_output(support::configReadWords(section, key, fallback, server::kRegistryFile)) {}

    /// Waits for the tool: at most 128 bytes of its answer up to the first NUL, trimmed.
    std::string read() {
        std::string value = m_output.read(kRegistryValue).value_or("");
        value.erase(std::min(value.find('\0'), value.size()));
        if (value.empty()) {
            return m_fallback;
        }
        trim_whitespace(value.data());
        value.resize(strlen(value.data()));
        return value;
    }

  private:
    const char* m_fallback;
    support::CommandOutput m_output;
};

/// What the registry says of a package. All are asked for before the first is read, so that the
/// tools run side by side.
struct RegistryFields {
    explicit RegistryFields(const std::string& section)
        : displayName(section, "Display_Name", kAbsent),
          adminOnly(section, "AdminOnly", "FALSE"),
          version(section, "Version", kAbsent) {}

    RegistryValue displayName;
    RegistryValue adminOnly;
    RegistryValue version;
};

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

void takeRegistryFields(RegistryFields fields, const XMLNode& descriptor, PackageRecord& record) {
    record.Display_Name = fields.displayName.read();
    if (record.Display_Name == kAbsent) {
        record.Display_Name = record.name;
    }
    record.AdminOnly = fields.adminOnly.read() == "TRUE";
    record.Version = fields.version.read();
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
    RegistryFields fields(record.name);
    record.identifier = identifierOf(record);
    record.start = elementText(descriptor, "start");
    record.stop = elementText(descriptor, "stop");
    record.exe_filename = elementText(descriptor, "exe_filename");
    record.multiwin = elementText(descriptor, "multiwin") == "yes";
    record.phoneIcon = iconPath(descriptor, "icon_phone", folder);
    record.padIcon = iconPath(descriptor, "icon_pad", folder);
    takeRegistryFields(std::move(fields), descriptor, record);
    if (!record.vexaName.empty()) {
        support::printOut(">>>vexaName:%s\n", record.vexaName.c_str());
    }
    record.Enable = registry.getValue(section, "Enable") != "FALSE";
    return true;
}

}  // namespace

PackageListPtr readPackages() {
    auto list = std::make_shared<PackageList>();
    ConfParser registry;
    registry.parseFile(server::kRegistryFile);
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
