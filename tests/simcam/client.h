#ifndef KXINFO_TESTS_SIMCAM_CLIENT_H
#define KXINFO_TESTS_SIMCAM_CLIENT_H

#include <cstdint>
#include <string>

/**
 * A client of GigE Vision cameras that sends what it is told to, byte by byte.
 *
 * Packets are written as hexadecimal digits; blanks may stand anywhere. Answers come in the same
 * form, the four 16-bit words of the header first:
 *
 *   EXPECT_EQ("0000 0081 0004 0007 00000BB8", client.ask("42 01 0080 0004 0007 00000938"));
 */
class Client {
public:
    /// A socket of its own on 127.0.0.1, asking the camera at 127.0.0.2.
    explicit Client(const char *camera = "127.0.0.2");
    ~Client();
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;

    uint16_t port() const;

    void send(const std::string &packet);
    void broadcast(const std::string &packet);

    struct Answer {
        std::string from; // "127.0.0.2:3956"
        std::string packet;
    };
    /// The next packet that comes in, or an empty answer when none has come within half a minute.
    Answer receive();

    /// send(), then the packet that comes in next; "" when none does.
    std::string ask(const std::string &packet);

    /// Whether a packet stays without an answer. Cameras answer in the order of commands, so a
    /// DISCOVERY behind it is answered first if it has none.
    bool isIgnored(const std::string &packet);

    /// One WRITEREG or READREG, each with a request number of its own.
    std::string write(uint32_t address, uint32_t value);
    std::string read(uint32_t address);

    /// The bytes [address, address + size) as READMEM gives them, block by block.
    std::string memory(uint32_t address, uint32_t size);

private:
    void sendTo(const char *address, const std::string &packet);
    std::string nextRequest();

    int socket_;
    std::string camera_;
    uint16_t request_ = 0x1000;
};

/// A number in so many hexadecimal digits: hex(10, 4) is "000A".
std::string hex(uint32_t value, int digits);

/// The bytes of a text, filled up with zeros, as hexadecimal digits.
std::string hexText(const std::string &text, size_t size);

#endif
