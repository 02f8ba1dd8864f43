#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include "folderTest.h"
#include "gate/web/certificate.h"
#include "gate/web/devices.h"
#include "gate/web/pairingCodes.h"
#include "support/handles.h"

namespace fs = std::filesystem;

namespace gate {
namespace {

constexpr fs::perms kOwnersAlone = fs::perms::owner_read | fs::perms::owner_write;

fs::perms modeOf(const std::string& path) {
    return fs::status(path).permissions();
}

class GateState : public FolderTest {};

TEST_F(GateState, KeepsPhonesOverARestart) {
    const std::string file = path("state/devices.json");
    Devices before(file);
    const std::string kitchen = before.add("kitchen tablet");
    const std::string other = before.add("bell \a");
    EXPECT_EQ(modeOf(file), kOwnersAlone);
    EXPECT_EQ(contentOf(file).find(kitchen), std::string::npos);
    Devices devices(file);
    ASSERT_TRUE(devices.find(kitchen) && devices.find(other));
    EXPECT_EQ(devices.find(other)->name, "phone 1");
    EXPECT_EQ(devices.find(std::string(43, 'A')), nullptr);
    const std::string id = devices.find(kitchen)->id;
    EXPECT_TRUE(devices.revoke(id) && !devices.revoke(id) && !devices.isPaired(id));
    EXPECT_EQ(Devices(file).find(kitchen), nullptr);
    EXPECT_NE(Devices(file).find(other), nullptr);
    Devices elsewhere(write("file") + "/devices.json");  // in a folder that is none
    EXPECT_THROW(elsewhere.add("tablet"), DevicesError);
    EXPECT_TRUE(elsewhere.list().empty());
}

TEST_F(GateState, NotesTheDayOfAPhonesLastRequest) {
    const std::string token = Devices(path("devices.json")).add("");
    std::string text = contentOf(path("devices.json"));
    const size_t seen = text.find("\"seen\": ") + 8;
    text.replace(seen, text.find_first_not_of("0123456789", seen) - seen, "86400");
    Devices devices(write("devices.json", text));
    EXPECT_NE(devices.find(token), nullptr);
    EXPECT_NE(contentOf(path("devices.json")), text);
    fs::remove(path("devices.json"));
    EXPECT_NE(devices.find(token), nullptr);
    EXPECT_FALSE(fs::exists(path("devices.json")));  // once a day
}

TEST_F(GateState, SetsABrokenListOfPhonesAside) {
    Devices(path("devices.json")).add("tablet");
    std::string badName = contentOf(path("devices.json"));
    badName[badName.find("tablet")] = '\x7F';
    for (const std::string& text : {std::string("{"), std::string("[]"), badName}) {
        EXPECT_TRUE(Devices(write("devices.json", text)).list().empty()) << text;
        EXPECT_FALSE(fs::exists(path("devices.json"))) << text;
        EXPECT_EQ(contentOf(path("devices.json.broken")), text);
    }
}

TEST(PairingCodes, AreTakenOnceInTimeAndForgivingly) {
    const PairingCodes::Time start{};
    PairingCodes codes;
    const std::string code = codes.open("tablet", start);
    EXPECT_EQ(code.find_first_not_of("0123456789ABCDEFGHJKMNPQRSTVWXYZ"), std::string::npos);
    std::string typed = " ";
    for (const char character : code) {
        typed += character == '1' ? 'l' : character == '0' ? 'o' : tolower(character);
        typed += '-';
    }
    EXPECT_EQ(codes.take(typed, start), "tablet") << typed;
    EXPECT_FALSE(codes.take(code, start));
    const std::string late = codes.open("", start);
    const std::string later = codes.open("", start + std::chrono::seconds(1));
    EXPECT_FALSE(codes.take(late, start + PairingCodes::kValid));
    EXPECT_TRUE(codes.take(later, start + PairingCodes::kValid));
}

TEST(PairingCodes, EndAfterSixWrongOnesOrWhenThereAreTooMany) {
    PairingCodes codes;
    const std::string first = codes.open("", {});
    const std::string second = codes.open("", {});
    for (const char* wrong : {"", "UUUUUUUU", "A", "UUUUUUUUU", "\xFF"}) {
        EXPECT_FALSE(codes.take(wrong, {}));
    }
    const std::string third = codes.open("", {});
    EXPECT_TRUE(codes.take(first, {}));
    EXPECT_FALSE(codes.take(first, {}) || codes.take(second, {}));
    for (size_t count = 0; count < PairingCodes::kMost; ++count) {
        codes.open("", {});
    }
    EXPECT_FALSE(codes.take(third, {}));
}

TEST_F(GateState, HasACertificateForTheHostsNames) {
    const HostNames host = {{"nas", "nas.local"}, {"127.0.0.1", "192.0.2.7", "2001:db8::7"}};
    EXPECT_EQ(host.reachable(), "192.0.2.7");
    const CertificateFiles files = ensureCertificate(path("state"), host);
    EXPECT_EQ(modeOf(files.key), kOwnersAlone);
    const support::Stream stream(fopen(files.certificate.c_str(), "r"));
    const std::unique_ptr<X509, decltype(&X509_free)> made(
        PEM_read_X509(stream.get(), nullptr, nullptr, nullptr), &X509_free);
    ASSERT_TRUE(made && X509_self_signed(made.get(), 1) == 1);
    EXPECT_EQ(X509_check_host(made.get(), "nas.local", 0, 0, nullptr), 1);
    EXPECT_EQ(X509_check_ip_asc(made.get(), "2001:db8::7", 0), 1);
    int days = 0;
    int seconds = 0;
    ASN1_TIME_diff(&days, &seconds, nullptr, X509_get0_notAfter(made.get()));
    EXPECT_GE(days, 3649);
    EXPECT_LT(X509_cmp_current_time(X509_get0_notBefore(made.get())), 0);

    const std::string kept = contentOf(files.certificate);
    ensureCertificate(path("state"), host);
    EXPECT_EQ(contentOf(files.certificate), kept);
    write("state/key.pem", contentOf(ensureCertificate(path("other"), host).key));
    EXPECT_THROW(ensureCertificate(path("state"), host), std::runtime_error);
    write("state/certificate.pem", "none");
    EXPECT_THROW(ensureCertificate(path("state"), host), std::runtime_error);
}

}  // namespace
}  // namespace gate
