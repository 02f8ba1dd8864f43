// The paired phones. Each has a token that it shows with every request; the gate keeps its hash
// alone, so that nobody becomes a phone by reading the file.
#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "gate/web/stateFile.h"

namespace gate {

struct Device {
    std::string id;    ///< six hexadecimal digits, for people and commands
    std::string name;  ///< see Devices::isName
    std::string hash;  ///< SHA-256 of the token, 64 hexadecimal digits
    std::chrono::sys_seconds paired;
    std::chrono::sys_days seen;  ///< the day of its last request, in UTC
};

inline constexpr const char* kTooManyDevices = "256 devices are paired, revoke one first";

/// The file could not be written, or there are too many devices; what() is a line for people.
struct DevicesError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Belongs to one thread.
class Devices final {
  public:
    static constexpr size_t kMost = 256;
    static constexpr size_t kLongestName = 64;  ///< bytes

    /// Reads the file (JSON) at `path`; a missing one is made by the first device. One that cannot
    /// be read or is broken is told of in the log and set aside as `path` with ".broken" behind it,
    /// and nobody is paired then.
    explicit Devices(std::string path = std::string(kStateDirectory) + "/devices.json");

    /// Whether a device may have this name: UTF-8 without control characters, not empty, at most
    /// kLongestName bytes.
    static bool isName(std::string_view name);

    /// Pairs a device and returns its token, 43 characters of base64url (RFC 4648, section 5). A
    /// name that it may not have becomes "phone N". Throws DevicesError, nothing changed, when
    /// kMost are paired or the file cannot be written (told of in the log).
    std::string add(const std::string& name);

    /// The device with this token, null without one; holds until the next add or revoke. Notes the
    /// day, which costs a write for the first request of a day and device.
    const Device* find(std::string_view token);

    bool isPaired(const std::string& id) const;

    /// Unpairs a device; false when there is none with this id. Throws DevicesError when the file
    /// cannot be written: the device is unpaired now, but would be back after a restart.
    bool revoke(const std::string& id);

    /// In the order of pairing; holds until the next add or revoke.
    const std::vector<Device>& list() const { return m_devices; }

  private:
    void read_();
    void write_() const;
    std::string newId_() const;
    std::string defaultName_() const;

    std::string m_path;
    std::vector<Device> m_devices;
};

}  // namespace gate
