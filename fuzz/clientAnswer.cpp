// What kalloctl makes of whatever answers on the agent's port. The whole input is the bytes that
// come in: an announcement, then a payload.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cstdio>
#include <cstring>
#include <memory>

#include "client/answer.h"
#include "client/ask.h"
#include "client/safeText.h"
#include "companion/answer.h"
#include "companion/request.h"
#include "fuzz/target.h"
#include "support/protocol.h"
#include "support/utf8.h"

namespace {

class FakeAgent final : public corex::Socket {
  public:
    explicit FakeAgent(std::string_view bytes) : m_rest(bytes) {}

    /// Readable at any time, for poll(2).
    int GetSocket() override {
        static const int kDescriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
        return kDescriptor;
    }
    void Close() override {}

    ssize_t Read(void* buf, size_t len) override {
        // In pieces, as a network may bring them.
        const size_t count = std::min({m_rest.size(), len, size_t{700}});
        memcpy(buf, m_rest.data(), count);
        m_rest.remove_prefix(count);
        return static_cast<ssize_t>(count);
    }
    ssize_t Write(const std::string& data) override { return static_cast<ssize_t>(data.size()); }

  private:
    std::string_view m_rest;
};

void checkSafeText(std::string_view text) {
    const std::string safe = client::safeText(text);
    assert(support::isUtf8(safe) && client::safeText(safe) == safe);
    assert(std::none_of(safe.begin(), safe.end(), [](char character) {
        return (character >= 0 && character < ' ') || character == 0x7F;
    }));
    assert(client::displayWidth(safe) <= 2 * safe.size());
    assert(support::isUtf8(client::safeText(text, client::Controls::lineFeedAndTab)));
}

void show(const XMLNode& document) {
    static FILE* const kUnseen = freopen("/dev/null", "we", stdout);
    assert(kUnseen != nullptr);
    using client::FieldKind;
    constexpr client::Field kFacts[] = {{"torvik_ver", "Version"},
                                        {"isRefreshed", "Refreshed", FieldKind::flag}};
    constexpr client::Field kColumns[] = {{"active", "Active", FieldKind::flagAttribute},
                                          {"win_title", "Title"},
                                          {"pid", "Process", FieldKind::number}};
    client::Arguments arguments;
    for (const bool json : {false, true}) {
        arguments.json = json;
        client::showAnswer(arguments, document, {kFacts, kColumns});
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes = fuzz::textOf(data, size);
    checkSafeText(bytes);
    const client::Answer answer = client::askDocument({std::make_unique<FakeAgent>(bytes)},
                                                      companion::requestText(protocol::kGetStatus));
    const bool isAnswered = answer.reply == client::Reply::answered;
    assert(isAnswered == answer.error.empty() && isAnswered == !answer.document.isEmpty());
    assert((answer.reply == client::Reply::silence) == bytes.empty());
    // A refusal is told on standard error, which is the fuzzer's.
    if (isAnswered && companion::isSuccess(companion::resultOf(answer.document))) {
        show(answer.document);
    }
    return 0;
}
