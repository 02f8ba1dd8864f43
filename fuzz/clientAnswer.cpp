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
#include "client/conversation.h"
#include "client/protocol.h"
#include "client/safeText.h"
#include "fuzz/target.h"

namespace {

class FakeAgent final : public corex::Socket {
  public:
    explicit FakeAgent(std::string_view bytes) : m_rest(bytes) {}

    /// Readable at any time, for poll(2).
    int GetSocket() override {
        static const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
        return descriptor;
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
    assert(client::isUtf8(safe) && client::safeText(safe) == safe);
    assert(std::none_of(safe.begin(), safe.end(), [](char character) {
        return (character >= 0 && character < ' ') || character == 0x7F;
    }));
    assert(client::displayWidth(safe) <= 2 * safe.size());
    assert(client::isUtf8(client::safeText(text, client::controls_t::lineFeedAndTab)));
}

void show(const XMLNode& document) {
    static FILE* const unseen = freopen("/dev/null", "we", stdout);
    assert(unseen != nullptr);
    using client::fieldKind_t;
    constexpr client::field_t facts[] = {{"torvik_ver", "Version"},
                                         {"isRefreshed", "Refreshed", fieldKind_t::flag}};
    constexpr client::field_t columns[] = {{"active", "Active", fieldKind_t::flagAttribute},
                                           {"win_title", "Title"},
                                           {"pid", "Process", fieldKind_t::number}};
    client::arguments_t arguments;
    for (const bool json : {false, true}) {
        arguments.json = json;
        client::showAnswer(arguments, document, {facts, columns});
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes = fuzz::textOf(data, size);
    checkSafeText(bytes);
    XMLNode document;
    bool silent = false;
    std::string error;
    const bool isAnswered =
        client::askDocument(std::make_unique<FakeAgent>(bytes), client::requestText("GetStatus"),
                            document, silent, error);
    assert(isAnswered == error.empty() && isAnswered == !document.isEmpty());
    assert(silent == bytes.empty());
    // A refusal is told on standard error, which is the fuzzer's.
    if (isAnswered && client::isSuccess(client::childText(document, "errRtn"))) {
        show(document);
    }
    return 0;
}
