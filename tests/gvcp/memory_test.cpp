// Registers and memory: which commands they take.

#include "support.h"

namespace {

using namespace gvcp;
using testing::ElementsAre;
using testing::Pair;
using testing::SizeIs;

// What read and write commands of memory came for: address and size.
std::vector<std::pair<uint32_t, size_t>> blocksOf(const std::vector<Received> &commands,
                                                  Command command) {
    std::vector<std::pair<uint32_t, size_t>> blocks;
    for (const Received &each : commands) {
        if (each.command == command)
            blocks.emplace_back(each.word(0),
                                command == kReadMemory ? each.word(1) : each.payload.size() - 4);
    }
    return blocks;
}

class ReadingMemory : public OnADevice {
protected:
    std::vector<std::pair<uint32_t, size_t>> blocks() const {
        return blocksOf(device.received(), kReadMemory);
    }

    /** Reads what must be the device's pattern. */
    void read(Channel &channel, uint32_t address, size_t size) {
        Bytes bytes(size + 1, 0xee);
        channel.read(address, bytes.data(), size);
        for (uint32_t i = 0; i < size; ++i)
            ASSERT_EQ(Device::pattern(address + i), bytes[i]) << i;
        EXPECT_EQ(0xee, bytes[size]);
    }

    /** Refuses to read more than so many bytes in one command. */
    void readAtMost(size_t most) {
        device.refuse(
            [=](const Received &command) {
                return command.command == kReadMemory && command.word(1) > most;
            },
            kInvalidParameter);
    }
};

TEST_F(ReadingMemory, TakesTheLargestBlocksThatThereAre) {
    Channel channel(place, Access::Monitor, patient());

    read(channel, 0x2000, 2 * kLargestBlock + 128);

    EXPECT_THAT(blocks(), ElementsAre(Pair(0x2000, 536), Pair(0x2218, 536), Pair(0x2430, 128)));
}

TEST_F(ReadingMemory, TakesSmallerBlocksFromThenOnWhereTheCameraRefusesTheLargest) {
    readAtMost(512);
    Channel channel(place, Access::Monitor, patient());

    read(channel, 0x2000, 540);
    read(channel, 0x2000, 540);

    EXPECT_THAT(blocks(), ElementsAre(Pair(0x2000, 536), Pair(0x2000, 512), Pair(0x2200, 28),
                                      Pair(0x2000, 512), Pair(0x2200, 28)));
}

TEST_F(ReadingMemory, FailsWhereTheCameraRefusesAModestBlockToo) {
    readAtMost(511);
    Channel channel(place, Access::Monitor, patient());
    Bytes bytes(1000);

    EXPECT_EQ("Refused: a parameter of the command is wrong (0x8002)",
              problemOf([&] { channel.read(0x2000, bytes.data(), 536); }));

    EXPECT_THAT(blocks(), ElementsAre(Pair(0x2000, 536), Pair(0x2000, 512)));
}

TEST_F(ReadingMemory, AsksForWholeRegistersOnly) {
    Channel channel(place, Access::Monitor, patient());

    read(channel, 0x2001, 1);
    read(channel, 0x2003, 2);
    read(channel, 0x2002, kLargestBlock);
    read(channel, 0x2000, 3);

    EXPECT_THAT(blocks(), ElementsAre(Pair(0x2000, 4), Pair(0x2000, 8), Pair(0x2000, 536),
                                      Pair(0x2218, 4), Pair(0x2000, 4)));
}

TEST_F(ReadingMemory, OfNoBytesSendsNothing) {
    Channel channel(place, Access::Monitor, patient());
    device.forget();

    channel.read(UINT32_MAX, nullptr, 0);

    EXPECT_THAT(device.received(), SizeIs(0));
}

TEST_F(ReadingMemory, GoesToTheLastByteOf32BitsAndNotBeyond) {
    Channel channel(place, Access::Monitor, patient());
    read(channel, 0xffffffff, 1);
    read(channel, 0xfffffde8, kLargestBlock);
    device.forget();
    Bytes bytes(600);

    EXPECT_EQ("Refused: its memory ends at 32 bits",
              problemOf([&] { channel.read(0xffffffff, bytes.data(), 2); }));
    EXPECT_EQ("Refused: its memory ends at 32 bits",
              problemOf([&] { channel.read(0xfffffde9, bytes.data(), kLargestBlock); }));

    EXPECT_THAT(device.received(), SizeIs(0));
}

class ReadingRegisters : public OnADevice {
protected:
    static constexpr size_t kMost = kLargestPayload / 4;

    /** Reads so many registers in one go; how many came in each command. */
    std::vector<size_t> read(size_t count) {
        Channel channel(place, Access::Monitor, patient());
        std::vector<uint32_t> addresses, values;
        for (uint32_t i = 0; i < count; ++i) {
            addresses.push_back(0x3000 + 4 * i);
            values.push_back(1000 + i);
            device.set(addresses.back(), values.back());
        }
        device.forget();
        EXPECT_EQ(values, channel.readRegisters(addresses));
        std::vector<size_t> counts;
        for (const Received &command : device.received())
            counts.push_back(command.payload.size() / 4);
        return counts;
    }
};

TEST_F(ReadingRegisters, TakesOneCommandEachUnlessTheCameraTellsThatItCanDoMore) {
    device.set(bootstrap::kCapability, ~kCanConcatenate);

    EXPECT_THAT(read(3), ElementsAre(1, 1, 1));
}

TEST_F(ReadingRegisters, TakesAsFewCommandsAsPossibleWhereTheCameraTellsThatItCan) {
    device.set(bootstrap::kCapability, kCanConcatenate);

    EXPECT_EQ(135u, kMost);
    EXPECT_THAT(read(kMost), ElementsAre(kMost));
    EXPECT_THAT(read(kMost + 1), ElementsAre(kMost, 1));
    EXPECT_THAT(read(0), ElementsAre());
}

TEST_F(ReadingRegisters, WorksOnACameraThatDoesNotTellWhatItCan) {
    device.refuse([](auto &command) { return command.is(kReadRegister, bootstrap::kCapability); },
                  kInvalidAddress);

    EXPECT_THAT(read(2), ElementsAre(1, 1));
}

class WritingMemory : public OnADevice {
protected:
    void open(uint32_t capability) {
        device.set(bootstrap::kCapability, capability);
        channel.emplace(place, Access::Control, patient());
        device.forget();
    }

    std::vector<Received> writes() const {
        std::vector<Received> found;
        for (const Received &each : device.received()) {
            if (each.command == kWriteRegister || each.command == kWriteMemory)
                found.push_back(each);
        }
        return found;
    }

    void refuseWritingMemory() {
        device.refuse([](auto &command) { return command.command == kWriteMemory; },
                      kNotImplemented);
    }

    std::optional<Channel> channel;
    const Bytes data{1, 2, 3, 4, 5, 6, 7, 8};
};

TEST_F(WritingMemory, TakesTheLargestBlocksThatThereAre) {
    open(kCanWriteMemory);
    Bytes much;
    for (size_t i = 0; i < 2 * kLargestBlock + 4; ++i)
        much.push_back(static_cast<uint8_t>(i));

    channel->write(0x2000, much.data(), much.size());

    EXPECT_THAT(blocksOf(device.received(), kWriteMemory),
                ElementsAre(Pair(0x2000, 536), Pair(0x2218, 536), Pair(0x2430, 4)));
    Bytes back(much.size());
    channel->read(0x2000, back.data(), back.size());
    EXPECT_EQ(much, back);
}

TEST_F(WritingMemory, WritesRegistersWhereTheCameraDoesNotTellThatItCanWriteMemory) {
    open(0);

    channel->write(0x2000, data.data(), data.size());

    const auto commands = writes();
    ASSERT_THAT(commands, SizeIs(2));
    EXPECT_TRUE(commands[0].is(kWriteRegister, 0x2000));
    EXPECT_EQ(0x01020304u, commands[0].word(1));
    EXPECT_TRUE(commands[1].is(kWriteRegister, 0x2004));
    EXPECT_EQ(0x05060708u, commands[1].word(1));
}

TEST_F(WritingMemory, WritesRegistersFromThenOnWhereTheCameraTellsThatItCanAndCannot) {
    open(kCanWriteMemory);
    refuseWritingMemory();

    channel->write(0x2000, data.data(), data.size());
    channel->write(0x3000, data.data(), 4);

    const auto commands = writes();
    ASSERT_THAT(commands, SizeIs(4));
    EXPECT_TRUE(commands[0].is(kWriteMemory, 0x2000));
    EXPECT_TRUE(commands[1].is(kWriteRegister, 0x2000));
    EXPECT_TRUE(commands[2].is(kWriteRegister, 0x2004));
    EXPECT_TRUE(commands[3].is(kWriteRegister, 0x3000));
}

TEST_F(WritingMemory, LeavesItToTheCameraWhatIsNotWholeRegisters) {
    open(0);
    refuseWritingMemory();

    for (const auto &[address, size] : {std::pair(0x2000u, 3u), {0x2002u, 4u}}) {
        device.forget();
        EXPECT_EQ(
            "Refused: it does not know this command (0x8001)",
            problemOf([&, at = address, count = size] { channel->write(at, data.data(), count); }));
        EXPECT_THAT(blocksOf(device.received(), kWriteMemory), ElementsAre(Pair(address, size)));
        EXPECT_THAT(writes(), SizeIs(1));
    }
}

TEST_F(WritingMemory, GoesToTheLastByteOf32BitsAndNotBeyond) {
    open(kCanWriteMemory);
    channel->write(0xfffffffc, data.data(), 4);
    device.forget();

    EXPECT_EQ("Refused: its memory ends at 32 bits",
              problemOf([&] { channel->write(0xfffffffc, data.data(), 8); }));

    EXPECT_THAT(writes(), SizeIs(0));
}

TEST_F(WritingMemory, OfARegisterSendsItsNumber) {
    open(0);

    channel->writeRegister(0x2000, 0xdeadbeef);

    const auto commands = writes();
    ASSERT_THAT(commands, SizeIs(1));
    EXPECT_EQ((Bytes{0, 0, 0x20, 0, 0xde, 0xad, 0xbe, 0xef}), commands[0].payload);
}

} // namespace
