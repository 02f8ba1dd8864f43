#include "client/wholeFile.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "support/handles.h"
#include "support/wholeFile.h"

namespace client {
namespace {

bool writeInPlace(const std::string& path, std::string_view bytes) {
    const support::Stream file(fopen(path.c_str(), "we"));
    return file && fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size() &&
           fflush(file.get()) == 0;
}

}  // namespace

bool writeWholeFile(const std::string& path, std::string_view bytes, std::string& error) {
    std::error_code none;
    const bool isDevice = std::filesystem::is_other(path, none);
    if (isDevice ? writeInPlace(path, bytes) : support::replaceWholeFile(path, bytes)) {
        return true;
    }
    error = path + ": " + strerror(errno);
    return false;
}

}  // namespace client
