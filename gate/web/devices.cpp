#include "gate/web/devices.h"

#include <openssl/sha.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>

#include "gate/log.h"
#include "support/base64.h"
#include "support/utf8.h"
#include "support/wholeFile.h"

namespace gate {
namespace {

using Json = nlohmann::ordered_json;
using Clock = std::chrono::system_clock;
using std::chrono::seconds;

constexpr size_t kTokenBytes = 32;
constexpr size_t kTokenLength = 43;
constexpr size_t kIdBytes = 3;
constexpr size_t kMostFileBytes = size_t{1} << 20;

std::string hexadecimal(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        constexpr const char* kDigits = "0123456789abcdef";
        text += kDigits[static_cast<unsigned char>(byte) >> 4];
        text += kDigits[static_cast<unsigned char>(byte) & 15];
    }
    return text;
}

bool isHexadecimal(const std::string& text, size_t bytes) {
    return text.size() == 2 * bytes &&
           text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

std::string hashOf(std::string_view token) {
    std::string hash(SHA256_DIGEST_LENGTH, '\0');
    SHA256(reinterpret_cast<const unsigned char*>(token.data()), token.size(),
           reinterpret_cast<unsigned char*>(hash.data()));
    return hexadecimal(hash);
}

std::string newToken() {
    std::string token = support::base64Encode(randomBytes(kTokenBytes));
    std::ranges::replace(token, '+', '-');
    std::ranges::replace(token, '/', '_');
    token.resize(kTokenLength);  // without the padding
    return token;
}

std::chrono::sys_days today() {
    return std::chrono::floor<std::chrono::days>(Clock::now());
}

Json written(const Device& device) {
    return {{"id", device.id},
            {"name", device.name},
            {"token_sha256", device.hash},
            {"paired", device.paired.time_since_epoch().count()},
            {"seen", seconds(device.seen.time_since_epoch()).count()}};
}

/// Throws nlohmann::json::exception or std::invalid_argument for what `written` did not write.
Device deviceOf(const Json& entry) {
    const auto time = [&](const char* key) {
        return std::chrono::sys_seconds(seconds(entry.at(key).get<int64_t>()));
    };
    Device device{entry.at("id"), entry.at("name"), entry.at("token_sha256"), time("paired"),
                  std::chrono::floor<std::chrono::days>(time("seen"))};
    if (!isHexadecimal(device.id, kIdBytes) || !Devices::isName(device.name) ||
        !isHexadecimal(device.hash, SHA256_DIGEST_LENGTH)) {
        throw std::invalid_argument("a device is broken");
    }
    return device;
}

std::vector<Device> devicesOf(const std::string& path) {
    const auto text = support::readWholeFile(path, kMostFileBytes);
    if (!text) {
        throw std::runtime_error(strerror(errno));
    }
    const Json file = Json::parse(*text);
    std::vector<Device> devices;
    for (const Json& entry : file.at("devices")) {
        devices.push_back(deviceOf(entry));
    }
    return devices;
}

}  // namespace

Devices::Devices(std::string path) : m_path(std::move(path)) {
    read_();
}

void Devices::read_() {
    if (access(m_path.c_str(), F_OK) != 0 && errno == ENOENT) {
        return;
    }
    try {
        m_devices = devicesOf(m_path);
    } catch (const std::exception& error) {
        const std::string aside = m_path + ".broken";
        const bool isAside = rename(m_path.c_str(), aside.c_str()) == 0;
        logText(m_path + ": " + error.what() + "; no phone is paired, the file " +
                (isAside ? "is now " + aside : std::string("cannot be set aside")));
    }
}

void Devices::write_() const {
    Json devices = Json::array();
    for (const Device& device : m_devices) {
        devices.push_back(written(device));
    }
    try {
        writeStateFile(m_path, Json{{"devices", devices}}.dump(1) + "\n");
    } catch (const std::runtime_error& error) {
        logText(error.what());
        throw DevicesError(error.what());
    }
}

bool Devices::isName(std::string_view name) {
    if (name.empty() || name.size() > kLongestName) {
        return false;
    }
    while (!name.empty()) {
        const support::Utf8Character character = support::firstUtf8Character(name);
        const bool isControl =
            character.value < ' ' || (character.value >= 0x7F && character.value < 0xA0);
        if (isControl || character.value == support::kNoCharacter) {
            return false;
        }
        name.remove_prefix(character.length);
    }
    return true;
}

std::string Devices::newId_() const {
    std::string id;
    do {
        id = hexadecimal(randomBytes(kIdBytes));
    } while (isPaired(id));
    return id;
}

std::string Devices::defaultName_() const {
    for (size_t number = 1;; ++number) {
        std::string name = "phone " + std::to_string(number);
        if (std::ranges::find(m_devices, name, &Device::name) == m_devices.end()) {
            return name;
        }
    }
}

std::string Devices::add(const std::string& name) {
    if (m_devices.size() >= kMost) {
        throw DevicesError(kTooManyDevices);
    }
    std::string token = newToken();
    m_devices.push_back({newId_(), isName(name) ? name : defaultName_(), hashOf(token),
                         std::chrono::floor<seconds>(Clock::now()), today()});
    try {
        write_();
    } catch (const DevicesError&) {
        m_devices.pop_back();
        throw;
    }
    return token;
}

const Device* Devices::find(std::string_view token) {
    if (token.size() != kTokenLength) {
        return nullptr;
    }
    const auto found = std::ranges::find(m_devices, hashOf(token), &Device::hash);
    if (found == m_devices.end()) {
        return nullptr;
    }
    if (const auto day = today(); found->seen != day) {
        found->seen = day;
        try {
            write_();
        } catch (const DevicesError&) {  // told of in the log, and tried again tomorrow
        }
    }
    return &*found;
}

bool Devices::isPaired(const std::string& id) const {
    return std::ranges::find(m_devices, id, &Device::id) != m_devices.end();
}

bool Devices::revoke(const std::string& id) {
    if (std::erase_if(m_devices, [&](const Device& device) { return device.id == id; }) == 0) {
        return false;
    }
    write_();
    return true;
}

}  // namespace gate
