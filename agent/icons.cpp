// The icon of a package, the one answer that is no document.
#include <sys/stat.h>

#include <cstdlib>
#include <string_view>

#include "agent/kalloagent.h"
#include "support/protocol.h"
#include "support/wholeFile.h"

namespace {

/// Reads an image file whole into `result`, which is left without data when there is none.
void readImage(const std::string& path, resultContent_t& result) {
    const support::Stream file = support::openRegularStream(path.c_str());
    struct stat status {};
    if (!file || fstat(fileno(file.get()), &status) != 0 || status.st_size <= 0) {
        return;
    }
    const auto size = static_cast<size_t>(status.st_size);
    result.data = static_cast<unsigned char*>(calloc(size, 1));
    if (result.data != nullptr) {
        result.dataSize = size;
        [[maybe_unused]] const size_t got = fread(result.data, 1, size, file.get());
    }
}

}  // namespace

void CKalloAgent::getIcon_(const XMLNode& request, resultContent_t& result) {
    // Also without an icon: apps read the payload as an image whatever it is.
    result.contentType = binaryAnswer;
    result.dataSize = 0;
    const char* const name = request.childNode(protocol::kParameterElement, 0).text();
    const XMLNode device = request.childNode(protocol::kParameterElement, 1);
    if (name == nullptr || device.text() == nullptr) {
        return;
    }
    const PackageListPtr packages = m_vexaManager->packages();
    const PackageRecord* const package = findPackage(*packages, name);
    if (package == nullptr) {
        return;
    }
    const std::string_view kind = device.text();
    if (kind == protocol::kPhone) {
        readImage(package->phoneIcon, result);
    } else if (kind == protocol::kPad) {
        readImage(package->padIcon, result);
    }
}
