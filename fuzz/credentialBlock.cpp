// Credential blocks on both of their ways: whatever stands in the hand-over file, and a text as a
// companion app enciphers it. The whole input is once the one and once the other.
#include "agent/credentialBlock.h"

#include <algorithm>
#include <cassert>

#include "fuzz/target.h"
#include "support/base64.h"

namespace {

using credentialBlock::Block;

const AesKeys& keys() {
    static const AesKeys kMade = [] {
        AesKeys both{};
        credentialCipher::setKey(both, credentialCipher::kCredentialKey.data(),
                                 static_cast<int>(credentialCipher::kCredentialKey.size()));
        return both;
    }();
    return kMade;
}

bool isText(const std::string& text) {
    return text.size() <= std::tuple_size_v<Block> &&
           text.find_first_of(std::string_view("\0\xFF", 2)) == std::string::npos;
}

void checkFile(std::string_view text) {
    const std::string password = credentialBlock::decipheredText(keys(), text);
    assert(isText(password));
    // What is behind the first block does not count.
    const std::string decoded = support::base64Decode(text);
    const std::string more = support::base64Encode(decoded + "more");
    if (decoded.size() >= std::tuple_size_v<Block>) {
        assert(credentialBlock::decipheredText(keys(), more) == password);
    }
}

void checkWayThere(std::string_view text) {
    Block plain{};
    const size_t length = std::min(text.size(), plain.size());
    std::copy_n(text.begin(), length, plain.begin());
    Block block = credentialBlock::filledBlock(plain, length);
    assert(std::all_of(block.begin() + static_cast<ptrdiff_t>(length), block.end(),
                       [](unsigned char byte) { return byte == 0xFF; }));
    credentialCipher::encrypt(keys(), block.size(), block.data(), block.data());
    const std::string received = credentialBlock::decipheredText(keys(), block);
    const std::string_view sent = text.substr(0, length);
    assert(received == sent.substr(0, sent.find_first_of(std::string_view("\0\xFF", 2))));
    const std::string base64 =
        support::base64Encode({reinterpret_cast<const char*>(block.data()), block.size()});
    assert(credentialBlock::decipheredText(keys(), base64) == received);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    checkFile(fuzz::textOf(data, size));
    checkWayThere(fuzz::textOf(data, size));
    return 0;
}
