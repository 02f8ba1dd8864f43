// Both kinds of socket over loopback and in a directory of their own: what reaches the peer, what
// a launched program would inherit, and what stops the process.
#include <arpa/inet.h>
#include <fcntl.h>
#include <unistd.h>

#include <memory>

#include "folderTest.h"
#include "socketcpp/TcpSocket.h"
#include "socketcpp/UnixSocket.h"

using corex::Socket;
using SocketPtr = std::unique_ptr<Socket>;

enum class Kind { tcp, unixPath, unixAbstract };

static int portOf(Socket& socket) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    getsockname(socket.GetSocket(), reinterpret_cast<sockaddr*>(&address), &length);
    return ntohs(address.sin_port);
}

static SocketPtr create(Kind kind, bool nonblock = false) {
    return kind == Kind::tcp ? SocketPtr(corex::TcpSocket::CreateSocket(AF_INET, nonblock))
                             : SocketPtr(corex::UnixSocket::CreateSocket(SOCK_STREAM, nonblock));
}

class Sockets : public FolderTest, public testing::WithParamInterface<Kind> {};

INSTANTIATE_TEST_SUITE_P(All, Sockets,
                         testing::Values(Kind::tcp, Kind::unixPath, Kind::unixAbstract));

TEST_P(Sockets, CarryBytesBothWaysAndOutliveTheirPeer) {
    const bool isTcp = GetParam() == Kind::tcp;
    const int flag = GetParam() == Kind::unixAbstract ? 1 : 0;
    const SocketPtr listener = create(GetParam(), true);
    ASSERT_EQ(isTcp ? listener->Bind(0) : listener->Bind(path("s"), flag), 0);
    ASSERT_EQ(listener->Listen(1), 0);
    EXPECT_EQ(listener->Accept(), nullptr);
    EXPECT_EQ(errno, EAGAIN);
    SocketPtr client = create(GetParam());
    ASSERT_EQ(
        isTcp ? client->Connect("127.0.0.1", portOf(*listener)) : client->Connect(path("s"), flag),
        0);
    const SocketPtr served(listener->Accept());
    ASSERT_NE(served, nullptr);
    for (Socket* socket : {listener.get(), client.get(), served.get()}) {
        EXPECT_EQ(fcntl(socket->GetSocket(), F_GETFD), FD_CLOEXEC);
    }

    char buffer[16]{};
    EXPECT_EQ(client->Write(""), -1);
    EXPECT_EQ(client->Write(std::string("ask")), 3);
    EXPECT_EQ(served->Read(buffer, sizeof buffer), 3);
    EXPECT_EQ(served->Write("reply", 5), 5);
    EXPECT_EQ(client->Read(buffer, sizeof buffer), 5);
    EXPECT_STREQ(buffer, "reply");
    const int descriptor = client->GetSocket();
    client->Close();
    EXPECT_EQ(client->GetSocket(), -1);
    ASSERT_EQ(dup(STDIN_FILENO), descriptor) << "its number is free again";
    client->Close();
    client.reset();
    EXPECT_EQ(close(descriptor), 0) << "what took its number is still open";

    EXPECT_EQ(served->Read(buffer, sizeof buffer), 0);
    while (served->Write("anyone?") > 0) {
    }
    EXPECT_EQ(served->Write("x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
}

TEST_F(Sockets, FailuresAreResults) {
    const SocketPtr tcp = create(Kind::tcp);
    EXPECT_EQ(tcp->Bind("not an address", 0), -1);
    EXPECT_EQ(tcp->Connect("300.1.1.1", 1), -1);
    ASSERT_EQ(tcp->Bind("127.0.0.1", 0), 0) << "the failed calls bound nothing";
    ASSERT_EQ(tcp->Listen(1), 0);
    EXPECT_EQ(create(Kind::tcp)->Bind(portOf(*tcp)), -1);
    EXPECT_EQ(create(Kind::unixPath)->Bind(m_folder, 0), -1);
    EXPECT_EQ(create(Kind::unixPath)->Connect(path("nobody"), 0), -1);
}

TEST(SocketDeathTest, MisuseStopsTheProcess) {
    const std::pair<const char*, void (*)(Socket & tcp, Socket & local)> rows[] = {
        {"m_socket != -1'", [](Socket& tcp, Socket&) { tcp.Close(), tcp.Bind(0); }},
        {"Assertion .buf'", [](Socket& tcp, Socket&) { tcp.Read(nullptr, 0); }},
        {"Assertion .buf'", [](Socket&, Socket& local) { local.Write(nullptr, 0); }},
        {"address.size.. > 0'", [](Socket&, Socket& local) { local.Bind("", 0); }},
    };
    const SocketPtr tcp = create(Kind::tcp);
    const SocketPtr local = create(Kind::unixPath);
    for (const auto& [pattern, call] : rows) {
        EXPECT_DEATH((dup2(STDERR_FILENO, STDOUT_FILENO), call(*tcp, *local)), pattern);
    }
}
