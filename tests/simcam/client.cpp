#include "client.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cctype>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int kPatienceMs = 30'000;
constexpr uint16_t kCameraPort = 3956;
constexpr uint32_t kBlock = 536;

std::string bytesOf(const std::string &text) {
    std::string digits;
    std::copy_if(text.begin(), text.end(), std::back_inserter(digits),
                 [](unsigned char c) { return std::isxdigit(c) != 0; });
    std::string bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes.push_back(static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}

std::string digitsOf(const std::string &bytes) {
    std::string text;
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (i == 2 || i == 4 || i == 6 || i == 8)
            text += ' ';
        text += hex(static_cast<uint8_t>(bytes[i]), 2);
    }
    return text;
}

sockaddr_in at(const char *address, uint16_t port) {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(port);
    inet_pton(AF_INET, address, &to.sin_addr);
    return to;
}

} // namespace

std::string hex(uint32_t value, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*X", digits, value);
    return text;
}

std::string hexText(const std::string &text, size_t size) {
    std::string bytes = text;
    bytes.resize(size);
    std::string digits;
    for (const char c : bytes)
        digits += hex(static_cast<uint8_t>(c), 2);
    return digits;
}

Client::Client(const char *camera) : socket_(socket(AF_INET, SOCK_DGRAM, 0)), camera_(camera) {
    const int yes = 1;
    const sockaddr_in own = at("127.0.0.1", 0);
    if (setsockopt(socket_, SOL_SOCKET, SO_BROADCAST, &yes, sizeof yes) != 0 ||
        bind(socket_, reinterpret_cast<const sockaddr *>(&own), sizeof own) != 0)
        throw std::runtime_error("no socket for a client");
}

Client::~Client() {
    close(socket_);
}

std::string Client::nextRequest() {
    request_ = static_cast<uint16_t>(request_ % UINT16_MAX + 1); // 0 is none
    return hex(request_, 4);
}

uint16_t Client::port() const {
    sockaddr_in own{};
    socklen_t length = sizeof own;
    getsockname(socket_, reinterpret_cast<sockaddr *>(&own), &length);
    return ntohs(own.sin_port);
}

void Client::sendTo(const char *address, const std::string &packet) {
    const std::string bytes = bytesOf(packet);
    const sockaddr_in to = at(address, kCameraPort);
    if (sendto(socket_, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr *>(&to),
               sizeof to) != static_cast<ssize_t>(bytes.size()))
        throw std::runtime_error("a packet could not be sent");
}

void Client::send(const std::string &packet) {
    sendTo(camera_.c_str(), packet);
}

void Client::broadcast(const std::string &packet) {
    sendTo("255.255.255.255", packet);
}

Client::Answer Client::receive() {
    pollfd waiting{socket_, POLLIN, 0};
    if (poll(&waiting, 1, kPatienceMs) != 1)
        return {};
    char buffer[2048];
    sockaddr_in from{};
    socklen_t length = sizeof from;
    const ssize_t size =
        recvfrom(socket_, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr *>(&from), &length);
    if (size < 0)
        return {};
    char address[INET_ADDRSTRLEN];
    inet_ntop(AF_INET, &from.sin_addr, address, sizeof address);
    return {std::string(address) + ":" + std::to_string(ntohs(from.sin_port)),
            digitsOf(std::string(buffer, static_cast<size_t>(size)))};
}

std::string Client::ask(const std::string &packet) {
    send(packet);
    return receive().packet;
}

bool Client::isIgnored(const std::string &packet) {
    send(packet);
    return ask("42 01 0002 0000 FFFE").substr(0, 19) == "0000 0003 00F8 FFFE";
}

std::string Client::write(uint32_t address, uint32_t value) {
    const std::string request = nextRequest();
    const std::string answer = ask("42 01 0082 0008" + request + hex(address, 8) + hex(value, 8));
    EXPECT_EQ(request, answer.size() < 19 ? answer : answer.substr(15, 4));
    return answer.substr(0, 4);
}

std::string Client::read(uint32_t address) {
    const std::string request = nextRequest();
    const std::string answer = ask("42 01 0080 0004" + request + hex(address, 8));
    EXPECT_EQ(request, answer.size() < 19 ? answer : answer.substr(15, 4));
    return answer.size() > 20 ? answer.substr(20) : answer.substr(0, 4);
}

std::string Client::memory(uint32_t address, uint32_t size) {
    std::string digits;
    for (uint32_t done = 0; done < size; done += kBlock) {
        const uint32_t block = (std::min(kBlock, size - done) + 3) & ~3u;
        const std::string request = nextRequest();
        const std::string header = "0000 0085 " + hex(block + 4, 4) + " " + request + " ";
        const std::string answer =
            ask("42 01 0084 0008" + request + hex(address + done, 8) + hex(block, 8));
        if (answer.substr(0, header.size()) != header) {
            ADD_FAILURE() << "READMEM " << hex(address + done, 8) << ": " << answer;
            return "";
        }
        digits += answer.substr(header.size() + 8);
    }
    return bytesOf(digits).substr(0, size);
}
