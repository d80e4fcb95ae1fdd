#include "memory.h"

namespace simcam {

namespace {

constexpr uint64_t kAddressSpace = uint64_t{1} << 32;

} // namespace

void Memory::map(uint32_t address, uint32_t size, Access access) {
    const uint64_t end = uint64_t{address} + size;
    for (uint64_t at = address & ~3u; at < end; at += 4) {
        Page &page = pages_[static_cast<uint32_t>(at / kPageSize)];
        uint8_t &word = page.access[at % kPageSize / 4];
        word = static_cast<uint8_t>(word | access);
    }
}

void Memory::unmap(uint32_t address, uint32_t size) {
    const uint64_t end = uint64_t{address} + size;
    for (uint64_t at = address & ~3u; at < end; at += 4)
        pages_[static_cast<uint32_t>(at / kPageSize)].access[at % kPageSize / 4] = kNone;
}

Status Memory::canRead(uint32_t address, uint32_t size) const {
    return can(address, size, kRead, Status::AccessDenied);
}

Status Memory::canWrite(uint32_t address, uint32_t size) const {
    return can(address, size, kWrite, Status::WriteProtect);
}

Bytes Memory::peek(uint32_t address, uint32_t size) const {
    Bytes bytes(size);
    for (uint32_t i = 0; i < size; ++i) {
        const auto page = pages_.find((address + i) / kPageSize);
        if (page != pages_.end())
            bytes[i] = page->second.bytes[(address + i) % kPageSize];
    }
    return bytes;
}

uint32_t Memory::peek32(uint32_t address) const {
    return load32(peek(address, 4).data());
}

void Memory::poke(uint32_t address, const uint8_t *bytes, uint32_t size) {
    for (uint32_t i = 0; i < size; ++i)
        pages_.at((address + i) / kPageSize).bytes[(address + i) % kPageSize] = bytes[i];
}

void Memory::poke32(uint32_t address, uint32_t value) {
    Bytes bytes;
    append32(bytes, value);
    poke(address, bytes.data(), 4);
}

void Memory::pokeText(uint32_t address, uint32_t size, const std::string &text) {
    Bytes bytes(text.begin(), text.end());
    bytes.resize(size);
    poke(address, bytes.data(), size);
}

uint8_t Memory::access(uint32_t address) const {
    const auto page = pages_.find(address / kPageSize);
    return page == pages_.end() ? uint8_t{kNone} : page->second.access[address % kPageSize / 4];
}

Status Memory::can(uint32_t address, uint32_t size, Access wanted, Status otherwise) const {
    const uint64_t end = uint64_t{address} + size;
    if (end > kAddressSpace)
        return Status::InvalidAddress;
    Status status = Status::Success;
    for (uint64_t at = address & ~3u; at < end; at += 4) {
        const uint8_t word = access(static_cast<uint32_t>(at));
        if (word == kNone)
            return Status::InvalidAddress;
        if (!(word & wanted))
            status = otherwise;
    }
    return status;
}

} // namespace simcam
