// Which servers can be reached, and that the answer never takes long.
#include <arpa/inet.h>
#include <chrono>
#include <netinet/in.h>
#include <sys/socket.h>

#include "corekit/os/Descriptor.h"
#include "status/Facts.h"
#include "tests/support/PrintString.h"
#include "tests/support/StandIn.h"

namespace Zorvane::AgentInstaller::Status {
namespace {

using corekit::String;

/// A server that listens on a port of this host.
class Listener {
  public:
    Listener() : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const name = reinterpret_cast<sockaddr*>(&address);
        EXPECT_EQ(bind(m_socket.Get(), name, size), 0);
        EXPECT_EQ(getsockname(m_socket.Get(), name, &size), 0);
        m_port = ntohs(address.sin_port);
    }
    void Listen() { EXPECT_EQ(listen(m_socket.Get(), 1), 0); }
    String Port() const { return String::FromInt(m_port); }

  private:
    corekit::Descriptor m_socket;
    int m_port = 0;
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
