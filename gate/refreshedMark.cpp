#include "gate/refreshedMark.h"

#include "support/protocol.h"

namespace gate {
namespace {

/// Replaces the text of the mark's element. It stands before every text of somebody else's, in
/// which markup is escaped. Returns whether `from` was there.
bool replaceMark(std::string& status, std::string_view from, std::string_view to) {
    const size_t element = status.find(std::string("<") + protocol::kRefreshedElement);
    const size_t text = status.find_first_not_of(" \t\r\n", status.find('>', element) + 1);
    if (element == std::string::npos || text == std::string::npos ||
        status.compare(text, from.size(), from) != 0) {
        return false;
    }
    status.replace(text, from.size(), to);
    return true;
}

}  // namespace

void RefreshedMark::collect(std::string& status) {
    if (replaceMark(status, "true", "false")) {
        ++m_round;
    }
}

void RefreshedMark::give(const Address& client, std::string& status) {
    if (m_given.size() >= kAddresses && !m_given.contains(client)) {
        m_given.erase(m_given.begin());
    }
    unsigned& given = m_given[client];
    if (given != m_round && replaceMark(status, "false", "true")) {
        given = m_round;
    }
}

}  // namespace gate
