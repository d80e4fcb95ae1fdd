#include "watch.h"

#include "text.h"
#include "values.h"

#include <cstdio>

namespace simcam {

namespace {

std::string hexadecimal(uint32_t value, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%0*X", digits, value);
    return text;
}

std::string bytesText(size_t size) {
    return std::to_string(size) + " bytes";
}

std::string commandName(uint16_t command) {
    static const std::map<Command, std::string> names{
        {Command::Discovery, "DISCOVERY"}, {Command::ForceIp, "FORCEIP"},
        {Command::ReadReg, "READREG"},     {Command::WriteReg, "WRITEREG"},
        {Command::ReadMem, "READMEM"},     {Command::WriteMem, "WRITEMEM"}};
    const auto name = names.find(static_cast<Command>(command));
    return name != names.end() ? name->second : hexadecimal(command, 4);
}

std::string statusName(Status status) {
    static const std::map<Status, std::string> names{
        {Status::Success, "ok"},
        {Status::NotImplemented, "NOT_IMPLEMENTED"},
        {Status::InvalidParameter, "INVALID_PARAMETER"},
        {Status::InvalidAddress, "INVALID_ADDRESS"},
        {Status::WriteProtect, "WRITE_PROTECT"},
        {Status::BadAlignment, "BAD_ALIGNMENT"},
        {Status::AccessDenied, "ACCESS_DENIED"},
        {Status::Busy, "BUSY"},
        {Status::InvalidHeader, "INVALID_HEADER"}};
    return names.at(status);
}

struct Cell {
    const Register *reg;
    uint32_t number;
};

// The register that lies exactly here. Where several fields share the word, none is named.
std::optional<Cell> cellAt(const Description &description, uint32_t address, size_t size) {
    std::optional<Cell> found;
    for (const Register &reg : description.registers) {
        if (reg.length != size || address < reg.address)
            continue;
        const uint32_t offset = address - reg.address;
        const uint32_t number = reg.cellCount > 1 ? offset / reg.stride : 0;
        if (number >= reg.cellCount || number * reg.stride != offset)
            continue;
        const bool isField = reg.kind == Register::Kind::Integer && reg.width < 8 * reg.length;
        if (found && isField)
            return std::nullopt;
        if (!found)
            found = Cell{&reg, number};
    }
    return found;
}

// "Width=1936" or "Width" while the value is not known; the address where nothing is named.
std::string wordText(const Description &description, uint32_t address, const uint8_t *value) {
    const auto cell = cellAt(description, address, 4);
    std::string text = cell ? cellName(*cell->reg, cell->number) : hexadecimal(address, 8);
    if (value)
        text += "=" + (cell ? valueText(*cell->reg, Bytes(value, value + 4))
                            : hexadecimal(load32(value), 8));
    return text;
}

std::string blockText(const Camera &camera, uint32_t address, size_t size, const uint8_t *bytes) {
    const auto cell = cellAt(camera.description(), address, size);
    if (!cell)
        return hexadecimal(address, 8) + " " + bytesText(size);
    std::string name = cellName(*cell->reg, cell->number);
    if (!bytes)
        return name;
    Bytes block(bytes, bytes + size);
    camera.turnWords(address, block);
    return name + "=" + valueText(*cell->reg, block);
}

// What a command of the right shape is about; "" when there is nothing to say.
std::string subject(const Camera &camera, uint16_t command, const uint8_t *payload, size_t size,
                    const Bytes &answer) {
    std::string text;
    const auto add = [&](const std::string &word) { text += (text.empty() ? "" : " ") + word; };
    switch (static_cast<Command>(command)) {
    case Command::ReadReg:
        for (size_t at = 0; size % 4 == 0 && at < size; at += 4) {
            const bool isAnswered = kHeaderSize + at + 4 <= answer.size();
            add(wordText(camera.description(), load32(payload + at),
                         isAnswered ? answer.data() + kHeaderSize + at : nullptr));
        }
        break;
    case Command::WriteReg:
        for (size_t at = 0; size % 8 == 0 && at < size; at += 8)
            add(wordText(camera.description(), load32(payload + at), payload + at + 4));
        break;
    case Command::ReadMem:
        if (size == 8) {
            const size_t length = load16(payload + 6);
            const bool isAnswered = length > 0 && answer.size() == kHeaderSize + 4 + length;
            add(blockText(camera, load32(payload), length,
                          isAnswered ? answer.data() + kHeaderSize + 4 : nullptr));
        }
        break;
    case Command::WriteMem:
        if (size > 4)
            add(blockText(camera, load32(payload), size - 4, payload + 4));
        break;
    case Command::Discovery:
    case Command::ForceIp:
        break;
    }
    if (text.empty() && size > 0)
        add(bytesText(size));
    return text;
}

std::string fate(const Outcome &outcome, bool acknowledge) {
    switch (outcome.kind) {
    case Outcome::Kind::Ignored:
        return "ignored";
    case Outcome::Kind::Silent:
        return "silent";
    case Outcome::Kind::Dropped:
        return "dropped";
    case Outcome::Kind::Done:
        break;
    }
    return statusName(outcome.status) + (acknowledge ? "" : ", no answer wanted");
}

// ", delayed 50 ms, cut"
std::string whatBefell(const AnswerFaults &befallen) {
    const auto time = [](std::chrono::milliseconds ms) {
        return std::to_string(ms.count()) + " ms";
    };
    std::string text;
    if (befallen.delay.count() > 0)
        text += ", delayed " + time(befallen.delay);
    if (befallen.pending.count() > 0)
        text += ", pending " + time(befallen.pending);
    if (befallen.isNeverSent)
        text += ", pending forever";
    if (befallen.cutTo)
        text += ", cut";
    if (befallen.isTwice)
        text += ", doubled";
    if (befallen.isAfterWrongOnes)
        text += ", wrong answers first";
    return text;
}

} // namespace

std::string Watcher::line(const Camera &camera, const uint8_t *packet, size_t size,
                          const Endpoint &sender, Delivery delivery, const Outcome &outcome,
                          Clock::time_point now) {
    const std::string &serial = camera.identity().serial;
    std::string line = serial + " " + dotted(sender.address) + ":" + std::to_string(sender.port);
    const bool isCommand = size >= kHeaderSize && packet[0] == kKey;
    line += " " + (isCommand ? commandName(load16(packet + 2)) : "PACKET");
    if (delivery == Delivery::Broadcast)
        line += " broadcast";

    std::string about = bytesText(size);
    if (isCommand) {
        const size_t payload = size - kHeaderSize;
        const bool isShaped = load16(packet + 4) == payload;
        about = isShaped ? subject(camera, load16(packet + 2), packet + kHeaderSize, payload,
                                   outcome.answer.value_or(Bytes{}))
                         : bytesText(payload);
    }
    if (!about.empty())
        line += " " + about;

    line += " -> " + fate(outcome, isCommand && (packet[1] & kAcknowledgeRequired));
    const Bytes bytes(packet, packet + size);
    LastPackets &last = last_[serial];
    if (outcome.isRepeated)
        line += ", repeated";
    else if (size > 0 && last.answerTo(sender, bytes, now))
        line += ", retransmitted";
    last.keep(sender, bytes, {}, now);
    return printable(line + whatBefell(outcome.befallen));
}

} // namespace simcam
