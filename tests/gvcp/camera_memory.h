/** A camera's memory as a test has filled it, which counts the commands that reading it takes. */
#ifndef KXINFO_TESTS_GVCP_CAMERA_MEMORY_H
#define KXINFO_TESTS_GVCP_CAMERA_MEMORY_H

#include <cstring>
#include <map>
#include <optional>
#include <string>

#include "gvcp/description.h"
#include "gvcp/error.h"
#include "gvcp/packets.h"

class CameraMemory : public gvcp::Memory {
public:
    static constexpr uint32_t kDescription = 0x10000;

    CameraMemory() {
        setUrl(gvcp::kFirstUrl, "");
        setUrl(gvcp::kSecondUrl, "");
    }

    void setUrl(uint32_t address, std::string url) {
        url.resize(gvcp::kUrlRegisterSize, '\0');
        put(address, url);
    }

    void put(uint32_t address, std::string bytes) { regions_[address] = std::move(bytes); }

    /** Puts the description there, and its URL in the first register. */
    void describe(const std::string &bytes, uint32_t address = kDescription) {
        put(address, bytes);
        setUrl(gvcp::kFirstUrl, local(address, bytes.size()));
    }

    static std::string local(uint32_t address, size_t size) {
        char text[64];
        snprintf(text, sizeof text, "Local:camera.xml;%x;%zx", address, size);
        return text;
    }

    /** Fails whatever is read from there on. */
    void fail(uint32_t from, const gvcp::Error &error) {
        failing_ = from;
        error_ = error;
    }

    /** The next read of more than a URL arrives with another byte in its middle. */
    void damageNextRead() { damage_ = true; }

    /** Since the last call. */
    size_t commands() { return std::exchange(commands_, 0); }

    void read(uint32_t address, uint8_t *to, size_t size) override {
        const uint64_t begin = address & ~3u;
        const uint64_t end = (uint64_t{address} + size + 3) & ~uint64_t{3};
        commands_ +=
            static_cast<size_t>((end - begin + gvcp::kLargestBlock - 1) / gvcp::kLargestBlock);
        if (error_ && address >= failing_)
            throw gvcp::Error(*error_);
        auto region = regions_.upper_bound(address);
        if (region == regions_.begin() || address - (--region)->first > region->second.size() ||
            region->second.size() - (address - region->first) < size)
            throw gvcp::Error(gvcp::Cause::Refused, "invalid address");
        memcpy(to, region->second.data() + (address - region->first), size);
        if (damage_ && size > gvcp::kUrlRegisterSize) {
            damage_ = false;
            to[size / 2] ^= 0x80;
        }
    }

private:
    std::map<uint32_t, std::string> regions_;
    uint32_t failing_ = 0;
    std::optional<gvcp::Error> error_;
    bool damage_ = false;
    size_t commands_ = 0;
};

#endif
