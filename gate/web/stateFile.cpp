#include "gate/web/stateFile.h"

#include <openssl/rand.h>
#include <sys/stat.h>

#include <cstring>
#include <stdexcept>

#include "support/directories.h"
#include "support/wholeFile.h"

namespace gate {
namespace {

constexpr mode_t kForOthersNothing = 0077;
constexpr mode_t kOwnDirectory = 0700;

class Umask final {
  public:
    explicit Umask(mode_t mask) : m_before(umask(mask)) {}
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;
    ~Umask() { umask(m_before); }

  private:
    mode_t m_before;
};

}  // namespace

std::string randomBytes(size_t count) {
    std::string bytes(count, '\0');
    if (RAND_bytes(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<int>(count)) != 1) {
        throw std::runtime_error("no random bytes");
    }
    return bytes;
}

void writeStateFile(const std::string& path, std::string_view bytes) {
    const Umask guard(kForOthersNothing);
    const std::string directory = path.substr(0, path.rfind('/'));
    if (support::makeDirectories(directory, kOwnDirectory) != 0 ||
        !support::replaceWholeFile(path, bytes)) {
        throw std::runtime_error(path + ": " + strerror(errno));
    }
}

}  // namespace gate
