// Requests byte by byte: split, joined, malformed, and from many clients at once.
#include "tests/platform/cooling_unit_sim/cooling_unit_process.h"

#include <arpa/inet.h>
#include <array>
#include <cstdint>
#include <gtest/gtest.h>
#include <list>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

class TcpClient {
public:
    explicit TcpClient(const std::string& port)
        : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(port)));
        EXPECT_EQ(::connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
        const timeval limit{10, 0};
        ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    }
    ~TcpClient() { ::close(socket_); }
    TcpClient(const TcpClient&) = delete;
    TcpClient& operator=(const TcpClient&) = delete;

    void send(const Bytes& bytes) const {
        EXPECT_EQ(::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }
    // Waits for so many bytes; returns fewer if the server hangs up.
    Bytes receive(std::size_t count) const {
        Bytes bytes(count);
        const ssize_t length = ::recv(socket_, bytes.data(), count, MSG_WAITALL);
        EXPECT_GE(length, 0) << "nothing came";
        bytes.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
        return bytes;
    }

private:
    int socket_;
};

// Transaction 0x1234: read one holding register from address 100 of unit 1.
const Bytes kRead{0x12, 0x34, 0, 0, 0, 6, 1, 3, 0, 100, 0, 1};
const Bytes kReadMetric{0x12, 0x34, 0, 0, 0, 5, 1, 3, 2, 0, 1};
const Bytes kReadImperial{0x12, 0x34, 0, 0, 0, 5, 1, 3, 2, 0, 0};
const Bytes kWriteImperial{0x12, 0x35, 0, 0, 0, 6, 1, 6, 0, 100, 0, 0};

TEST(Wire, CarriesTheDocumentedBytes) {
    const test::CoolingUnitProcess unit;
    const TcpClient client(unit.port());
    client.send(kRead);
    EXPECT_EQ(client.receive(kReadMetric.size()), kReadMetric);
    client.send(kWriteImperial);
    EXPECT_EQ(client.receive(kWriteImperial.size()), kWriteImperial);
    client.send(kRead);
    EXPECT_EQ(client.receive(kReadImperial.size()), kReadImperial);
}

TEST(Wire, TakesARequestInPieces) {
    const test::CoolingUnitProcess unit;
    const TcpClient client(unit.port());
    const TcpClient other(unit.port());
    for (const std::uint8_t byte : kRead) {
        client.send({byte});
        other.send(kRead); // half a request blocks nobody else
        EXPECT_EQ(other.receive(kReadMetric.size()), kReadMetric);
    }
    EXPECT_EQ(client.receive(kReadMetric.size()), kReadMetric);
}

TEST(Wire, TakesSeveralRequestsAtOnce) {
    const test::CoolingUnitProcess unit;
    const TcpClient client(unit.port());
    Bytes all = kRead;
    all.insert(all.end(), kWriteImperial.begin(), kWriteImperial.end());
    all.insert(all.end(), kRead.begin(), kRead.end());
    client.send(all);
    EXPECT_EQ(client.receive(kReadMetric.size()), kReadMetric);
    EXPECT_EQ(client.receive(kWriteImperial.size()), kWriteImperial);
    EXPECT_EQ(client.receive(kReadImperial.size()), kReadImperial);
}

TEST(Wire, ServesManyClientsAtOnce) {
    const test::CoolingUnitProcess unit;
    EXPECT_EQ(unit.tell("slow 200").status, 0);
    std::list<TcpClient> clients;
    for (int i = 0; i < 40; ++i) {
        clients.emplace_back(unit.port()).send(kRead);
    }
    for (const TcpClient& client : clients) {
        EXPECT_EQ(client.receive(kReadMetric.size()), kReadMetric);
    }
}

TEST(Wire, HangsUpOnWhatIsNoModbus) {
    const test::CoolingUnitProcess unit;
    const Bytes texts[] = {
        {'G', 'E', 'T', ' ', '/', '\r', '\n'}, // another protocol
        {0, 1, 0, 0, 0, 1, 1, 3},              // too short to hold a function
        {0, 1, 0, 0, 1, 0, 1, 3},              // longer than a request may be
    };
    for (const Bytes& bytes : texts) {
        const TcpClient client(unit.port());
        client.send(bytes);
        EXPECT_EQ(client.receive(1), Bytes{});
    }
    EXPECT_EQ(unit.readRegister(), "1");
}

TEST(Wire, RefusesFunctionsAndLengthsThatItDoesNotHave) {
    const test::CoolingUnitProcess unit;
    const TcpClient client(unit.port());
    // Unknown function; a hundred registers; a write of 123 registers without its values.
    client.send({0, 1, 0, 0, 0, 2, 1, 0x55});
    EXPECT_EQ(client.receive(9), (Bytes{0, 1, 0, 0, 0, 3, 1, 0xD5, 1}));
    client.send({0, 2, 0, 0, 0, 6, 1, 3, 0, 100, 0, 100});
    EXPECT_EQ(client.receive(9), (Bytes{0, 2, 0, 0, 0, 3, 1, 0x83, 2}));
    client.send({0, 3, 0, 0, 0, 7, 1, 16, 0, 100, 0, 123, 246});
    EXPECT_EQ(client.receive(9), (Bytes{0, 3, 0, 0, 0, 3, 1, 0x90, 2}));
    EXPECT_EQ(unit.readRegister(), "1");
}

TEST(Wire, StaysUpWhenAClientLeavesBeforeItsAnswer) {
    const test::CoolingUnitProcess unit;
    EXPECT_EQ(unit.tell("slow 50").status, 0);
    for (int i = 0; i < 20; ++i) {
        const TcpClient client(unit.port());
        client.send(kRead);
    }
    EXPECT_EQ(unit.readRegister(), "1");
}

} // namespace
