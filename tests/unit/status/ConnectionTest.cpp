// Which servers can be reached, and that the answer never takes long.
#include <arpa/inet.h>
#include <chrono>
#include <netinet/in.h>
#include <sys/socket.h>

#include "corekit/os/Descriptor.h"
#include "status/Connection.h"
#include "tests/support/PrintString.h"
#include "tests/support/StandIn.h"

namespace Zorvane::AgentInstaller::Status {
namespace {

using corekit::String;

/// A server that listens on a port of this host.
class Listener {
  public:
    /// Without a port on one that is free.
    explicit Listener(const char* address = "127.0.0.1", int port = 0) {
        m_address.sin_family = AF_INET;
        m_address.sin_port = htons(static_cast<in_port_t>(port));
        EXPECT_EQ(inet_pton(AF_INET, address, &m_address.sin_addr), 1);
        socklen_t size = sizeof m_address;
        EXPECT_EQ(bind(m_socket.Get(), Name(), size), 0);
        EXPECT_EQ(getsockname(m_socket.Get(), Name(), &size), 0);
    }
    void Listen() { EXPECT_EQ(listen(m_socket.Get(), 1), 0); }

    /// Takes one connection, and has no room for any other.
    void ListenAndBeBusy() {
        EXPECT_EQ(listen(m_socket.Get(), 0), 0);
        EXPECT_EQ(connect(m_client.Get(), Name(), sizeof m_address), 0);
    }
    int PortNumber() const { return ntohs(m_address.sin_port); }
    String Port() const { return String::FromInt(PortNumber()); }

  private:
    sockaddr* Name() { return reinterpret_cast<sockaddr*>(&m_address); }

    corekit::Descriptor m_socket{socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    corekit::Descriptor m_client{socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    sockaddr_in m_address{};
};

TEST(StatusConnection, AServerIsReached_AsSoonAsItListens) {
    Listener server;
    const ServerUrl url(L"http://127.0.0.1:" + server.Port());
    EXPECT_FALSE(CanReach(url));
    server.Listen();
    EXPECT_TRUE(CanReach(url));
}

TEST(StatusConnection, EachAddressOfANameIsTried) {
    testsupport::StandIns host;
    host.Add("getent",
             "[ \"$*\" = 'ahosts kell.example' ] || exit 2\n"
             "echo '::1 STREAM kell.example'\necho 'nonsense'\necho '127.0.0.1 STREAM'");
    Listener server;
    server.Listen();
    EXPECT_TRUE(CanReach(ServerUrl(L"http://kell.example:" + server.Port())));
    EXPECT_FALSE(CanReach(ServerUrl(L"http://other.example:" + server.Port())));
}

TEST(StatusConnection, ANameThatTakesTooLongIsGivenUp) {
    testsupport::StandIns host;
    host.Add("getent", "exec sleep 60");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(CanReach(ServerUrl(L"http://kell.example:8083")));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

TEST(StatusConnection, NoMoreThanTheFirstAddressesOfANameAreTried) {
    Listener server;
    server.Listen();
    const ServerUrl url(L"http://kell.example:" + server.Port());
    testsupport::StandIns host;
    const std::string listens = "echo '127.0.0.1 STREAM'";
    host.Add("getent", "for i in 2 3 4 5 6 7 8 9; do echo \"127.0.0.$i STREAM\"; done; " + listens);
    EXPECT_FALSE(CanReach(url)) << "the ninth";
    host.Add("getent", "for i in 2 3 4 5 6 7 8; do echo \"127.0.0.$i STREAM\"; done; " + listens);
    EXPECT_TRUE(CanReach(url)) << "the eighth";
    host.Add("getent", "echo '255.255.255.255 STREAM'; " + listens);
    EXPECT_TRUE(CanReach(url)) << "one that takes no connection before it";
}

TEST(StatusConnection, AnAddressThatDoesNotAnswerIsGivenUp_AndHoldsUpNoOther) {
    Listener busy("127.0.0.2");
    busy.ListenAndBeBusy();
    const ServerUrl url(L"http://kell.example:" + busy.Port());
    testsupport::StandIns host;
    host.Add("getent", "for i in 2 3; do echo \"127.0.0.$i STREAM\"; done");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(CanReach(url)) << "the other one refuses";
    const auto passed = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(passed, std::chrono::seconds(3));
    EXPECT_LT(passed, std::chrono::seconds(20));
    Listener other("127.0.0.3", busy.PortNumber());
    other.Listen();
    EXPECT_TRUE(CanReach(url));
}

TEST(StatusConnection, AnAddressInBracketsIsAskedForWithoutThem) {
    Listener server;
    server.Listen();
    testsupport::StandIns host;
    host.Add("getent", "[ \"$*\" = 'ahosts ::1' ] && echo '127.0.0.1 STREAM'");
    EXPECT_TRUE(CanReach(ServerUrl(L"http://[::1]:" + server.Port())));
}

TEST(StatusConnection, AnInvalidNameIsNotAskedFor) {
    EXPECT_FALSE(CanReach(ServerUrl(L"http://a b")));
    EXPECT_FALSE(CanReach(ServerUrl(L"gopher://127.0.0.1")));
    testsupport::StandIns host;
    host.Add("getent", "echo '127.0.0.1 STREAM'");
    Listener server;
    server.Listen();
    EXPECT_FALSE(CanReach(ServerUrl(L"http://a b:" + server.Port())));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Status
