#include "companion/announcement.h"

#include <charconv>
#include <cstdlib>
#include <memory>

#include "companion/answer.h"
#include "support/protocol.h"

namespace companion {
namespace {

/// The agent's own announcements have some hundred bytes.
constexpr size_t kLongest = 4096;

const std::string& endTag() {
    static const std::string kEnd = std::string("</") + protocol::kRootElement + ">";
    return kEnd;
}

bool readSize(const std::string& announcement, uint64_t& size) {
    const std::string text = childText(parseDocument(announcement), protocol::kSizeElement);
    const char* const end = text.data() + text.size();
    const auto [stop, code] = std::from_chars(text.data(), end, size);
    return code == std::errc() && stop == end;
}

}  // namespace

std::string announcementText(uint64_t size) {
    constexpr int kIndented = 1;
    XMLNode root = XMLNode::createTopNode(protocol::kRootElement);
    root.addAttribute(protocol::kVersionAttribute, protocol::kVersion);
    root.addChild(protocol::kSizeElement).addText(std::to_string(size).c_str());
    const std::unique_ptr<char, decltype(&free)> text(root.createString(kIndented), &free);
    return text ? text.get() : "";
}

Announcement::State Announcement::take(std::string_view bytes) {
    if (wanted() == 0 || bytes.empty()) {
        return m_state;
    }
    // The end tag may be torn between two pieces.
    const size_t searched = m_text.size() < endTag().size() ? 0 : m_text.size() - endTag().size();
    m_text += bytes;
    if (m_state == State::sized) {
        return m_state = State::whole;
    }
    if (m_text.find(endTag(), searched) == std::string::npos) {
        return m_text.size() < kLongest ? m_state : refuse_("the agent's announcement has no end");
    }
    if (!readSize(m_text, m_size)) {
        return refuse_("the agent's announcement names no size");
    }
    if (m_size > kPayloadLimit) {
        return refuse_("the agent announces " + std::to_string(m_size) +
                       " bytes, which is too much");
    }
    return m_state = m_text.back() == '>' ? State::sized : State::whole;
}

Announcement::State Announcement::end() {
    if (m_state == State::unfinished) {
        m_state = m_text.empty() ? State::silent : refuse_("the agent's announcement is cut short");
    }
    return m_state == State::sized ? m_state = State::whole : m_state;
}

size_t Announcement::wanted() const noexcept {
    switch (m_state) {
        case State::unfinished:
            return kLongest - m_text.size();
        case State::sized:
            return 1;
        default:
            return 0;
    }
}

Announcement::State Announcement::refuse_(const std::string& fault) {
    m_fault = fault;
    return m_state = State::malformed;
}

}  // namespace companion
