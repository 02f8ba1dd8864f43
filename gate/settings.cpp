#include "gate/settings.h"

#include <toml++/toml.h>

#include <algorithm>
#include <functional>
#include <limits>

#include "support/wholeFile.h"

namespace gate {
namespace {

constexpr size_t kLongestFile = size_t{1} << 20;

/// One key of the file: returns why its value is not taken, as the end of a sentence, or nothing.
struct Key {
    const char* table;
    const char* name;
    std::function<std::string(Settings&, const toml::node&)> take;
};

/// `place` gives the variable that a key sets.
template <typename Place, typename Number>
Key number(const char* table, const char* name, Place place, Number least) {
    return {table, name, [place, least](Settings& settings, const toml::node& node) {
                const int64_t most =
                    std::min<int64_t>(std::numeric_limits<Number>::max(), 1'000'000);
                const auto value = node.value_exact<int64_t>();
                if (!value || *value < least || *value > most) {
                    return "a whole number from " + std::to_string(least) + " to " +
                           std::to_string(most);
                }
                std::invoke(place, settings) = static_cast<Number>(*value);
                return std::string();
            }};
}

template <typename Value>
Key webValue(const char* name, Value Settings::Web::*member, const char* wanted) {
    return {"web", name, [member, wanted](Settings& settings, const toml::node& node) {
                const auto value = node.value_exact<Value>();
                if (value) {
                    settings.web.*member = *value;
                }
                return std::string(value ? "" : wanted);
            }};
}

std::string takeNames(Settings& settings, const toml::node& node) {
    const toml::array* const list = node.as_array();
    settings.web.names.clear();
    for (size_t number = 0; list != nullptr && number < list->size(); ++number) {
        settings.web.names.push_back(list->get(number)->value_or(std::string()));
    }
    // Scheme and port are no part of a name, and none would ever be asked for so.
    const auto isName = [](const std::string& name) {
        return !name.empty() && name.find_first_of(":/ ") == std::string::npos;
    };
    return list != nullptr && std::ranges::all_of(settings.web.names, isName)
               ? ""
               : "a list of host names, such as [\"tv.home.example\"]";
}

std::string takeAgentAddress(Settings& settings, const toml::node& node) {
    boost::system::error_code error;
    const auto text = node.value_exact<std::string>();
    if (!text || (boost::asio::ip::make_address(*text, error), error)) {
        return "an address, such as \"127.0.0.1\"";
    }
    settings.agentAddress = *text;
    return "";
}

std::string takeAllowed(Settings& settings, const toml::node& node) {
    constexpr const char* kWanted =
        "a list of networks, such as [\"192.168.1.0/24\", \"fc00::/7\"]";
    const toml::array* const list = node.as_array();
    if (list == nullptr) {
        return kWanted;
    }
    settings.allowed.clear();
    for (const toml::node& entry : *list) {
        const auto network = Network::parse(entry.value_or(std::string()));
        if (!network) {
            return kWanted;
        }
        settings.allowed.push_back(*network);
    }
    return "";
}

const std::vector<Key>& keys() {
    constexpr unsigned kOne = 1;
    constexpr uint16_t kFirstPort = 1;
    constexpr const char* kSwitch = "true or false";
    constexpr const char* kFile = "the path of a file, in quotes";
    const auto ofWeb = [](auto member) {
        return [member](Settings & settings) -> auto& {
            return settings.web.*member;
        };
    };
    static const std::vector<Key> kKeys = {
        number("listen", "port", &Settings::port, kFirstPort),
        {"listen", "allowed", takeAllowed},
        number("listen", "connections", &Settings::connections, kOne),
        number("listen", "connections_of_an_address", &Settings::connectionsOfAnAddress, kOne),
        {"agent", "address", takeAgentAddress},
        number("agent", "port", &Settings::agentPort, kFirstPort),
        number("login", "failures_of_an_address", &Settings::failuresOfAnAddress, kOne),
        number("login", "failures_of_all", &Settings::failuresOfAll, kOne),
        number("seconds", "request", &Settings::requestSeconds, kOne),
        number("seconds", "agent", &Settings::agentSeconds, kOne),
        number("seconds", "slow", &Settings::slowSeconds, kOne),
        number("seconds", "silence", &Settings::silenceSeconds, kOne),
        webValue("serve", &Settings::Web::isServed, kSwitch),
        number("web", "port", ofWeb(&Settings::Web::port), kFirstPort),
        webValue("plain", &Settings::Web::isPlain, kSwitch),
        webValue("certificate", &Settings::Web::certificate, kFile),
        webValue("key", &Settings::Web::key, kFile),
        {"web", "names", takeNames},
        webValue("strict", &Settings::Web::isStrict, kSwitch),
        number("web", "connections", ofWeb(&Settings::Web::connections), kOne),
        number("web", "connections_of_an_address", ofWeb(&Settings::Web::connectionsOfAnAddress),
               kOne),
    };
    return kKeys;
}

[[noreturn]] void refuse(const std::string& path, unsigned line, const std::string& reason) {
    throw SettingsError(path + ":" + std::to_string(line) + ": " + reason);
}

void takeKey(Settings& settings, const std::string& path, const std::string& table,
             const std::string& name, const toml::node& node) {
    std::string full = table;
    full.append(".").append(name);
    for (const Key& key : keys()) {
        if (table == key.table && name == key.name) {
            const std::string wanted = key.take(settings, node);
            if (!wanted.empty()) {
                refuse(path, node.source().begin.line, full.append(" has to be ").append(wanted));
            }
            return;
        }
    }
    refuse(path, node.source().begin.line, "there is no setting " + full);
}

}  // namespace

Settings readSettings(const std::string& path, bool mayLack) {
    const auto text = support::readWholeFile(path, kLongestFile);
    if (!text && !(mayLack && errno == ENOENT)) {
        throw SettingsError(path + ": " + strerror(errno));
    }
    Settings settings;
    try {
        const toml::table file = toml::parse(text.value_or(""), path);
        for (const auto& [table, node] : file) {
            if (!node.is_table()) {
                refuse(path, node.source().begin.line,
                       "there is no setting " + std::string(table.str()) + " outside a table");
            }
            for (const auto& [name, value] : *node.as_table()) {
                takeKey(settings, path, std::string(table.str()), std::string(name.str()), value);
            }
        }
    } catch (const toml::parse_error& error) {
        refuse(path, error.source().begin.line, std::string(error.description()));
    }
    if (settings.web.certificate.empty() != settings.web.key.empty()) {
        throw SettingsError(path + ": web.certificate and web.key belong together");
    }
    return settings;
}

}  // namespace gate
