// Bytes as an answer to a discovery command, and as one to a register read. The first byte tells
// whether the first bytes are made those of an answer to the request.

#include "input.h"

#include <memory>

#include "packets.h"

namespace {

constexpr size_t kHeader = 8;
constexpr size_t kDiscoveryPayload = 248;

uint16_t get16(const uint8_t *at) {
    return static_cast<uint16_t>(at[0] << 8 | at[1]);
}

// A text is what stands in the packet up to its first NUL or the field's end.
template <size_t Room>
void checkText(const char (&text)[Room], const uint8_t *field, size_t size, const char *name) {
    MUST(std::memchr(text, 0, Room), "%s ends with a NUL", name);
    const size_t length = std::strlen(text);
    MUST(length <= size, "%s is not longer than its field", name);
    MUST(std::memcmp(text, field, length) == 0, "%s is what the packet says", name);
    MUST(length == size || field[length] == 0, "%s is all that the packet says", name);
}

void checkDiscoveryAnswer(const uint8_t *packet, size_t size, uint16_t id) {
    const auto camera = gige::parseDiscoveryAnswer(packet, size, id);
    const bool valid = size >= kHeader + kDiscoveryPayload && get16(packet) == 0 &&
                       get16(packet + 2) == 3 && get16(packet + 4) == kDiscoveryPayload &&
                       get16(packet + 6) == id;
    MUST(camera.has_value() == valid, "exactly valid answers are taken");
    if (!camera)
        return;
    const uint8_t *registers = packet + kHeader;
    checkText(camera->manufacturer, registers + 0x48, 32, "manufacturer");
    checkText(camera->model, registers + 0x68, 32, "model");
    checkText(camera->version, registers + 0x88, 32, "version");
    checkText(camera->serial, registers + 0xd8, 16, "serial");
    checkText(camera->username, registers + 0xe8, 16, "user name");
    MUST(camera->mode == 0 && camera->hostIpAddr == 0 && camera->hostIfIndex == 0,
         "what the answer does not tell is 0");
    MUST(camera->macHigh <= 0xffff, "a MAC address has 48 bits");
}

void checkRegisterAnswer(const uint8_t *packet, size_t size, uint16_t id) {
    const auto answer = gige::parseRegisterAnswer(packet, size, id);
    if (!answer)
        return;
    MUST(size >= kHeader && get16(packet + 2) == 0x81 && get16(packet + 6) == id,
         "only answers to the request are taken");
    MUST(answer->status == get16(packet), "the status is the packet's");
    MUST(answer->status == 0 || answer->value == 0, "no value without success");
    MUST(answer->status != 0 || size >= kHeader + 4, "success has a value");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    const unsigned header = input.below(4);
    const auto id = input.number<uint16_t>();
    size_t length = 0;
    const uint8_t *bytes = input.take(1024, length);

    // A block of exactly that size, so that reading beyond is noticed.
    const std::unique_ptr<uint8_t[]> packet(new uint8_t[length]);
    std::copy_n(bytes, length, packet.get());
    if (header != 0 && length >= kHeader) {
        const auto put = [&](size_t at, unsigned value) {
            packet[at] = static_cast<uint8_t>(value >> 8);
            packet[at + 1] = static_cast<uint8_t>(value & 0xff);
        };
        if (header != 3)
            put(0, 0);
        put(2, header == 1 ? 3 : 0x81);
        put(4, header == 1 ? 248 : 4);
        put(6, id);
    }
    checkDiscoveryAnswer(packet.get(), length, id);
    checkRegisterAnswer(packet.get(), length, id);
    return 0;
}
