#pragma once

#include "client.h"
#include "process.h"

#include <gtest/gtest.h>

/// A fresh camera S1 at 127.0.0.2, and a client that has not yet asked it anything.
class Camera : public testing::Test {
protected:
    static constexpr std::uint32_t kControlPrivilege = 0x0A00;
    static constexpr std::uint32_t kHeartbeatTimeout = 0x0938;
    static constexpr std::uint32_t kWidthMax = 0x00010108;
    static constexpr std::uint32_t kWidth = 0x00010110;
    static constexpr std::uint32_t kHeight = 0x00010114;
    static constexpr std::uint32_t kUnmapped = 0x0001FFFC;
    static constexpr std::uint32_t kAcquisitionStart = 0x00010204;

    // Where the last mapped words of the built-in model's table lie.
    static constexpr std::uint32_t kTableEnd = 0x0002C000;

    Simcam camera{{"--camera", "S1@127.0.0.2"}};
    Client client;

    /// Takes control for the client.
    void takeControl() { ASSERT_EQ("0000", client.write(kControlPrivilege, 2)); }
};
