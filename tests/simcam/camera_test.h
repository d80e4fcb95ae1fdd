#ifndef KXINFO_TESTS_SIMCAM_CAMERA_TEST_H
#define KXINFO_TESTS_SIMCAM_CAMERA_TEST_H

#include "client.h"
#include "process.h"

#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <sstream>

/**
 * Has clients say what a transcript says, and expects these answers:
 *
 *   write 0A00 00000002 = 0000     # a WRITEREG, and the status
 *   B: read 00010110 = 00000790    # a READREG of another client, and the value, or the status
 *   C3: 42 01 0002 0000 0001 = nothing # any packet, to the camera at 127.0.0.3, and its answer
 *   then = 0000 0089 0004 0007 00000001 # what comes behind the answer
 */
inline void converse(const std::string &transcript) {
    std::map<std::string, Client> clients;
    std::istringstream lines(transcript);
    for (std::string line; std::getline(lines, line);) {
        SCOPED_TRACE(line);
        line = line.substr(0, line.find('#'));
        const size_t equals = line.find('=');
        if (equals == std::string::npos)
            continue;
        const size_t begin = line.find_first_not_of(' ');
        std::string says = line.substr(begin, equals - begin);
        std::string expected = line.substr(equals + 2);
        expected.erase(expected.find_last_not_of(' ') + 1);
        const size_t colon = says.find(':');
        const std::string name = colon == std::string::npos ? "A" : says.substr(0, colon);
        const char *const camera = name.back() == '3' ? "127.0.0.3" : "127.0.0.2";
        Client &client = clients.try_emplace(name, camera).first->second;
        if (colon != std::string::npos)
            says.erase(0, colon + 2);

        std::istringstream words(says);
        std::string word;
        uint32_t address = 0, value = 0;
        words >> word >> std::hex >> address;
        if (word == "read")
            EXPECT_EQ(expected, client.read(address));
        else if (word == "write" && words >> value)
            EXPECT_EQ(expected, client.write(address, value));
        else if (word == "then")
            EXPECT_EQ(expected, client.receive().packet);
        else if (expected == "nothing")
            EXPECT_TRUE(client.isIgnored(says));
        else
            EXPECT_EQ(expected, client.ask(says));
    }
}

/// Cameras S1 at 127.0.0.2 and S2 at 127.0.0.3 with these options.
inline Simcam two(const std::string &options) {
    std::istringstream words(options + " --camera S1@127.0.0.2 --camera S2@127.0.0.3");
    return Simcam({std::istream_iterator<std::string>(words), {}});
}

/// What these cameras say at the end when clients have conversed with them.
inline std::string served(const std::string &options, const std::string &transcript) {
    Simcam cameras = two(options);
    converse(transcript);
    return cameras.stop().output;
}

/**
 * A description, a node in each line: its kind, its name and what it consists of. Registers are
 * big-endian ones of four bytes where nothing else is said; '@' gives an <pIndex> its step.
 *
 *   IntReg Gain Address=0x10000 pIndex@8=Selector Initial=1 Initial=2
 */
inline std::string model(const std::string &nodes) {
    std::string xml;
    std::istringstream lines(nodes);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string kind, name, extension, parts;
        if (!(words >> kind >> name))
            continue;
        for (std::string word; words >> word;) {
            const size_t equals = word.find('='), at = word.find('@');
            const std::string part = word.substr(0, std::min(equals, at));
            const std::string step = at < equals ? word.substr(at + 1, equals - at - 1) : "";
            const std::string value = word.substr(equals + 1);
            (part == "Initial" || part == "Cells" ? extension : parts) +=
                "<" + part +
                (step.empty() ? "" : " Offset=\"" + step + "\" Index=\"" + step + "\"") + ">" +
                value + "</" + part + ">";
        }
        for (const auto &[part, value] :
             {std::pair("<Length>", "4"), {"<Endianess>", "BigEndian"}}) {
            if (parts.find(part) == std::string::npos)
                parts += part + std::string(value) + "</" + (part + 1);
        }
        xml += "<" + kind + " Name=\"" + name + "\"><Extension>" + extension + "</Extension>" +
               parts + "</" + kind + ">\n";
    }
    return "<RegisterDescription>" + xml + "</RegisterDescription>";
}

/// A fresh camera S1 at 127.0.0.2, and a client that has not yet asked it anything.
class Camera : public testing::Test {
protected:
    static constexpr uint32_t kControlPrivilege = 0x0A00;
    static constexpr uint32_t kWidth = 0x00010110;

    Simcam camera{{"--camera", "S1@127.0.0.2"}};
    Client client;

    /// Takes control for the client.
    void takeControl() { ASSERT_EQ("0000", client.write(kControlPrivilege, 2)); }
};

#endif
