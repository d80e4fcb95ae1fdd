#include "dispatch.h"

#include <utility>

namespace simcam {

namespace {

constexpr uint16_t acknowledgeOf(Command command) {
    return static_cast<uint16_t>(command) | 1;
}

Bytes withHeader(uint16_t status, uint16_t acknowledge, uint16_t id, const Bytes &payload) {
    Bytes packet;
    append16(packet, status);
    append16(packet, acknowledge);
    append16(packet, static_cast<uint16_t>(payload.size()));
    append16(packet, id);
    packet.insert(packet.end(), payload.begin(), payload.end());
    return packet;
}

Bytes pendingAck(uint16_t id, std::chrono::milliseconds time) {
    Bytes payload;
    append16(payload, 0);
    append16(payload, static_cast<uint16_t>(time.count()));
    return withHeader(static_cast<uint16_t>(Status::Success), kPendingAcknowledge, id, payload);
}

// Who takes one of them for the answer gets values that are wrong in each bit, at the address that
// was asked for.
std::vector<Dispatch> wrongOnes(const Bytes &answer, std::chrono::milliseconds delay) {
    const uint16_t status = load16(answer.data());
    const uint16_t acknowledge = load16(answer.data() + 2);
    const uint16_t id = load16(answer.data() + 6);
    const bool isBlock = acknowledge == acknowledgeOf(Command::ReadMem);

    Bytes payload(answer.begin() + kHeaderSize, answer.end());
    for (size_t i = isBlock ? 4 : 0; i < payload.size(); ++i)
        payload[i] = static_cast<uint8_t>(~payload[i]);
    const auto idBefore = static_cast<uint16_t>(id == 1 ? 0xFFFF : id - 1);
    const uint16_t other = acknowledgeOf(isBlock ? Command::ReadReg : Command::ReadMem);
    return {{withHeader(status, acknowledge, idBefore, payload), delay},
            {withHeader(status, other, id, payload), delay},
            {withHeader(status, acknowledge, id, payload), delay, true}};
}

} // namespace

std::vector<Dispatch> dispatch(const Bytes &answer, const AnswerFaults &befallen) {
    using std::chrono::milliseconds;
    const uint16_t id = load16(answer.data() + 6);
    if (befallen.isNeverSent)
        return {{pendingAck(id, kPendingPromise), milliseconds{0}, false, true}};

    std::vector<Dispatch> packets;
    if (befallen.pending.count() > 0)
        packets.push_back({pendingAck(id, befallen.pending)});
    const milliseconds delay = befallen.pending + befallen.delay;
    if (befallen.isAfterWrongOnes) {
        for (Dispatch &wrong : wrongOnes(answer, delay))
            packets.push_back(std::move(wrong));
    }
    Dispatch right{answer, delay};
    right.packet.resize(befallen.cutTo.value_or(answer.size()));
    packets.insert(packets.end(), befallen.isTwice ? 2 : 1, right);
    return packets;
}

} // namespace simcam
