// Bytes as an answer, and as one to a discovery command. The first byte tells whether the first
// bytes are made those of an answer to a discovery command or to a register read.

#include "input.h"

#include <memory>

#include "gvcp/packets.h"

namespace {

constexpr size_t kHeader = 8;
constexpr size_t kDiscoveryPayload = 248;

uint16_t get16(const uint8_t *at) {
    return static_cast<uint16_t>(at[0] << 8 | at[1]);
}

// A text is what stands in the packet up to its first NUL or the field's end.
void checkText(const std::string &text, const uint8_t *field, size_t size, const char *name) {
    const auto *end = std::find(field, field + size, 0);
    MUST(text == std::string(field, end), "%s is what the packet says", name);
}

void checkIdentity(const gvcp::Answer &answer) {
    const auto camera = gvcp::parseIdentity(answer);
    const bool valid =
        answer.status == 0 && answer.command == 3 && answer.size == kDiscoveryPayload;
    MUST(camera.has_value() == valid, "exactly valid answers are taken");
    if (!camera)
        return;
    checkText(camera->manufacturer, answer.payload + 0x48, 32, "manufacturer");
    checkText(camera->model, answer.payload + 0x68, 32, "model");
    checkText(camera->version, answer.payload + 0x88, 32, "version");
    checkText(camera->serial, answer.payload + 0xd8, 16, "serial");
    checkText(camera->userName, answer.payload + 0xe8, 16, "user name");
    MUST(camera->macHigh <= 0xffff, "a MAC address has 48 bits");
}

void checkAnswer(const uint8_t *packet, size_t size) {
    const auto answer = gvcp::parseAnswer(packet, size);
    const bool whole = size >= kHeader && get16(packet + 4) <= size - kHeader;
    MUST(answer.has_value() == whole, "exactly whole answers are taken");
    if (!answer)
        return;
    MUST(answer->status == get16(packet) && answer->command == get16(packet + 2) &&
             answer->requestId == get16(packet + 6),
         "the header is the packet's");
    MUST(answer->payload == packet + kHeader && answer->size == get16(packet + 4),
         "the payload is the packet's");
    char number[] = " (0x1234)";
    std::snprintf(number, sizeof number, " (0x%04x)", answer->status);
    const std::string text = gvcp::statusText(answer->status);
    MUST(text.size() > std::strlen(number) &&
             text.find(number) == text.size() - std::strlen(number),
         "a status is words and its number");
    checkIdentity(*answer);
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
    checkAnswer(packet.get(), length);
    return 0;
}
