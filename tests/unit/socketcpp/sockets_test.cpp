// Both kinds of socket over loopback and in a directory of their own: what reaches the peer, what
// a launched program would inherit, and what stops the process.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>

#include "socketcpp/TcpSocket.h"
#include "socketcpp/UnixSocket.h"

namespace {

using corex::Socket;
using corex::TcpSocket;
using corex::UnixSocket;
using SocketPtr = std::unique_ptr<Socket>;

int portOf(Socket& socket) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    getsockname(socket.GetSocket(), reinterpret_cast<sockaddr*>(&address), &length);
    return ntohs(address.sin_port);
}

bool closesOnExec(Socket& socket) {
    return (fcntl(socket.GetSocket(), F_GETFD) & FD_CLOEXEC) != 0;
}
bool blocks(Socket& socket) {
    return (fcntl(socket.GetSocket(), F_GETFL) & O_NONBLOCK) == 0;
}

class SocketTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = std::filesystem::temp_directory_path() / "sockets.XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_directory = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(m_directory); }

    std::string path(const std::string& name) const { return m_directory + "/" + name; }

    std::string m_directory;
};

struct Kind {
    const char* name;
    std::function<SocketPtr(bool nonblock)> create;
    std::function<int(Socket&, const std::string& path)> bind;
    std::function<int(Socket&, Socket& listener, const std::string& path)> connect;
};

const Kind kKinds[] = {
    {"tcp", [](bool nonblock) { return SocketPtr(TcpSocket::CreateSocket(AF_INET, nonblock)); },
     [](Socket& socket, const std::string&) { return socket.Bind(0); },
     [](Socket& socket, Socket& listener, const std::string&) {
         return socket.Connect("127.0.0.1", portOf(listener));
     }},
    {"unix path",
     [](bool nonblock) { return SocketPtr(UnixSocket::CreateSocket(SOCK_STREAM, nonblock)); },
     [](Socket& socket, const std::string& path) { return socket.Bind(path, 0); },
     [](Socket& socket, Socket&, const std::string& path) { return socket.Connect(path, 0); }},
    {"unix abstract",
     [](bool nonblock) { return SocketPtr(UnixSocket::CreateSocket(SOCK_STREAM, nonblock)); },
     [](Socket& socket, const std::string& path) { return socket.Bind(path, 1); },
     [](Socket& socket, Socket&, const std::string& path) { return socket.Connect(path, 1); }},
};

TEST_F(SocketTest, CarriesBytesBothWaysAndOutlivesItsPeer) {
    signal(SIGPIPE, SIG_DFL);
    for (const Kind& kind : kKinds) {
        SCOPED_TRACE(kind.name);
        const SocketPtr listener = kind.create(false);
        SocketPtr client = kind.create(false);
        ASSERT_EQ(kind.bind(*listener, path("s")), 0);
        ASSERT_EQ(listener->Listen(1), 0);
        ASSERT_EQ(kind.connect(*client, *listener, path("s")), 0);
        const SocketPtr served(listener->Accept());
        ASSERT_NE(served, nullptr);
        EXPECT_TRUE(closesOnExec(*listener) && closesOnExec(*client) && closesOnExec(*served));

        char buffer[16] = {};
        EXPECT_EQ(client->Write(""), -1);
        EXPECT_EQ(client->Write(std::string("ask")), 3);
        EXPECT_EQ(served->Read(buffer, sizeof buffer), 3);
        EXPECT_EQ(served->Write("reply", 5), 5);
        EXPECT_EQ(client->Read(buffer, sizeof buffer), 5);
        EXPECT_STREQ(buffer, "reply");

        client.reset();
        EXPECT_EQ(served->Read(buffer, sizeof buffer), 0);
        while (served->Write("anyone?") > 0) {
        }
        EXPECT_EQ(served->Write("x", 1), -1);
        EXPECT_EQ(errno, EPIPE);
    }
    EXPECT_EQ(signal(SIGPIPE, SIG_DFL), SIG_DFL);
}

TEST_F(SocketTest, NonblockingListenersHaveNoConnection) {
    for (const Kind& kind : kKinds) {
        SCOPED_TRACE(kind.name);
        const SocketPtr listener = kind.create(true);
        EXPECT_FALSE(blocks(*listener));
        EXPECT_TRUE(blocks(*kind.create(false)));
        ASSERT_EQ(kind.bind(*listener, path("n")), 0);
        ASSERT_EQ(listener->Listen(1), 0);
        EXPECT_EQ(listener->Accept(), nullptr);
        EXPECT_EQ(errno, EAGAIN);
    }
}

TEST_F(SocketTest, AClosedSocketTouchesNoDescriptor) {
    for (const Kind& kind : kKinds) {
        SCOPED_TRACE(kind.name);
        SocketPtr socket = kind.create(false);
        const int descriptor = socket->GetSocket();
        socket->Close();
        EXPECT_EQ(socket->GetSocket(), -1);
        const int reused = dup(STDIN_FILENO);
        ASSERT_EQ(reused, descriptor);
        socket->Close();
        socket.reset();
        EXPECT_EQ(close(reused), 0);
    }
}

TEST_F(SocketTest, FailuresAreResults) {
    const SocketPtr tcp(TcpSocket::CreateSocket(AF_INET, false));
    EXPECT_EQ(tcp->Bind("not an address", 0), -1);
    EXPECT_EQ(portOf(*tcp), 0);
    EXPECT_EQ(tcp->Connect("300.1.1.1", 1), -1);
    ASSERT_EQ(tcp->Bind("127.0.0.1", 0), 0);
    EXPECT_EQ(tcp->Bind("127.0.0.1", 0), -1);
    ASSERT_EQ(tcp->Listen(1), 0);
    const SocketPtr second(TcpSocket::CreateSocket(AF_INET, false));
    EXPECT_EQ(second->Bind(portOf(*tcp)), -1);
    EXPECT_EQ(errno, EADDRINUSE);
    EXPECT_EQ(TcpSocket::CreateSocket(-1, false), nullptr);
    EXPECT_EQ(UnixSocket::CreateSocket(-1, false), nullptr);
    const SocketPtr unixSocket(UnixSocket::CreateSocket(SOCK_STREAM, false));
    EXPECT_EQ(unixSocket->Connect(path("nobody"), 0), -1);
    EXPECT_EQ(unixSocket->Bind(m_directory, 0), -1);
}

TEST_F(SocketTest, UnixPathsAreCutAndReplaceWhatStandsThere) {
    const std::string longPath = path(std::string(106, 'p'));
    const std::string cut = longPath.substr(0, 106);
    const SocketPtr first(UnixSocket::CreateSocket(SOCK_STREAM, false));
    ASSERT_EQ(first->Bind(longPath, 0), 0);
    EXPECT_TRUE(std::filesystem::is_socket(cut));
    const SocketPtr second(UnixSocket::CreateSocket(SOCK_STREAM, false));
    ASSERT_EQ(second->Bind(cut, 0), 0);
    ASSERT_EQ(second->Listen(1), 0);
    const SocketPtr client(UnixSocket::CreateSocket(SOCK_STREAM, false));
    EXPECT_EQ(client->Connect(longPath + "longer", 0), 0);
}

TEST_F(SocketTest, DatagramsReachTheShortenedName) {
    const SocketPtr receiver(UnixSocket::CreateSocket(SOCK_DGRAM, false));
    const SocketPtr sender(UnixSocket::CreateSocket(SOCK_DGRAM, false));
    ASSERT_EQ(receiver->Bind(path("post"), 0), 0);
    EXPECT_EQ(sender->SendTo("letter", path("postXY"), 0, 0), 6);
    char buffer[16] = {};
    EXPECT_EQ(receiver->Recv(buffer, sizeof buffer, MSG_PEEK), 6);
    EXPECT_EQ(receiver->Recv(buffer, sizeof buffer, MSG_DONTWAIT), 6);
    EXPECT_STREQ(buffer, "letter");
    EXPECT_EQ(sender->SendTo("letter", path("post"), 0, 0), -1);
}

struct Misuse {
    const char* text;  // part of what the process says before it stops
    std::function<void(Socket& tcp, Socket& unixSocket)> call;
};

const Misuse kMisuses[] = {
    {"Assertion `m_socket != -1'", [](Socket& tcp, Socket&) { tcp.Close(), tcp.Bind(0); }},
    {"Assertion `m_socket != -1'", [](Socket& tcp, Socket&) { tcp.Close(), tcp.Bind("", 0); }},
    {"Assertion `m_socket != -1'", [](Socket& tcp, Socket&) { tcp.Close(), tcp.Listen(1); }},
    {"Assertion `m_socket != -1'", [](Socket& tcp, Socket&) { tcp.Close(), tcp.Accept(); }},
    {"Assertion `m_socket != -1'", [](Socket& tcp, Socket&) { tcp.Close(), tcp.Connect("", 0); }},
    {"Assertion `m_socket != -1'", [](Socket& tcp, Socket&) { tcp.Close(), tcp.Write(""); }},
    {"Assertion `buf'", [](Socket& tcp, Socket&) { tcp.Read(nullptr, 0); }},
    {"Assertion `buf'", [](Socket& tcp, Socket&) { tcp.Write(nullptr, 0); }},
    {"Assertion `buf'", [](Socket&, Socket& local) { local.Read(nullptr, 0); }},
    {"Assertion `buf'", [](Socket&, Socket& local) { local.Write(nullptr, 0); }},
    {"Assertion `address.size() > 0'", [](Socket&, Socket& local) { local.Bind("", 0); }},
    {"Assertion `address.size() > 0'", [](Socket&, Socket& local) { local.Connect("", 1); }},
    {"[Socket.h][virtual int corex::Socket::Bind(int)][",
     [](Socket&, Socket& local) { local.Bind(1); }},
    {"[Socket.h][virtual int corex::Socket::Connect(const string&)][",
     [](Socket& tcp, Socket&) { tcp.Connect("a"); }},
    {"[Socket.h][virtual ssize_t corex::Socket::Send(const string&, int)][",
     [](Socket&, Socket& local) { local.Send("a", 0); }},
    {"[Socket.h][virtual ssize_t corex::Socket::Recv(void*, size_t, int)][",
     [](Socket& tcp, Socket&) { tcp.Recv(nullptr, 0, 0); }},
    {"] Not implement yet\n", [](Socket& tcp, Socket&) { tcp.SendTo("a", "b", 0, 0); }},
    {"Assertion `false'", [](Socket&, Socket& local) { local.Send("a", 1, 0); }},
};

std::string literally(const std::string& text) {
    std::string pattern;
    for (const char character : text) {
        pattern += std::string("[](){}*.+?|^$").find(character) == std::string::npos ? "" : "\\";
        pattern += character;
    }
    return pattern;
}

TEST(SocketDeathTest, MisuseStopsTheProcess) {
    const SocketPtr tcp(TcpSocket::CreateSocket(AF_INET, false));
    const SocketPtr local(UnixSocket::CreateSocket(SOCK_STREAM, false));
    for (const Misuse& misuse : kMisuses) {
        EXPECT_DEATH((dup2(STDERR_FILENO, STDOUT_FILENO), misuse.call(*tcp, *local)),
                     literally(misuse.text));
    }
}

}  // namespace
