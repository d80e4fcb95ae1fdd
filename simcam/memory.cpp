#include "memory.h"

namespace simcam {

namespace {

constexpr std::uint64_t kAddressSpace = std::uint64_t{1} << 32;

} // namespace

void Memory::map(std::uint32_t address, std::uint32_t size, Access access) {
    const std::uint64_t end = std::uint64_t{address} + size;
    for (std::uint64_t at = address & ~3u; at < end; at += 4) {
        Page &page = pages_[static_cast<std::uint32_t>(at / kPageSize)];
        std::uint8_t &word = page.access[at % kPageSize / 4];
        word = static_cast<std::uint8_t>(word | access);
    }
}

void Memory::unmap(std::uint32_t address, std::uint32_t size) {
    const std::uint64_t end = std::uint64_t{address} + size;
    for (std::uint64_t at = address & ~3u; at < end; at += 4)
        pages_[static_cast<std::uint32_t>(at / kPageSize)].access[at % kPageSize / 4] = kNone;
}

Status Memory::canRead(std::uint32_t address, std::uint32_t size) const {
    return can(address, size, kRead, Status::AccessDenied);
}

Status Memory::canWrite(std::uint32_t address, std::uint32_t size) const {
    return can(address, size, kWrite, Status::WriteProtect);
}

Bytes Memory::peek(std::uint32_t address, std::uint32_t size) const {
    Bytes bytes(size);
    for (std::uint32_t i = 0; i < size; ++i) {
        const auto page = pages_.find((address + i) / kPageSize);
        if (page != pages_.end())
            bytes[i] = page->second.bytes[(address + i) % kPageSize];
    }
    return bytes;
}

std::uint32_t Memory::peek32(std::uint32_t address) const {
    return load32(peek(address, 4).data());
}

void Memory::poke(std::uint32_t address, const std::uint8_t *bytes, std::uint32_t size) {
    for (std::uint32_t i = 0; i < size; ++i)
        pages_.at((address + i) / kPageSize).bytes[(address + i) % kPageSize] = bytes[i];
}

void Memory::poke32(std::uint32_t address, std::uint32_t value) {
    Bytes bytes;
    append32(bytes, value);
    poke(address, bytes.data(), 4);
}

void Memory::pokeText(std::uint32_t address, std::uint32_t size, const std::string &text) {
    Bytes bytes(text.begin(), text.end());
    bytes.resize(size);
    poke(address, bytes.data(), size);
}

std::uint8_t Memory::access(std::uint32_t address) const {
    const auto page = pages_.find(address / kPageSize);
    return page == pages_.end() ? std::uint8_t{kNone}
                                : page->second.access[address % kPageSize / 4];
}

Status Memory::can(std::uint32_t address, std::uint32_t size, Access wanted,
                   Status otherwise) const {
    const std::uint64_t end = std::uint64_t{address} + size;
    if (end > kAddressSpace)
        return Status::InvalidAddress;
    Status status = Status::Success;
    for (std::uint64_t at = address & ~3u; at < end; at += 4) {
        const std::uint8_t word = access(static_cast<std::uint32_t>(at));
        if (word == kNone)
            return Status::InvalidAddress;
        if (!(word & wanted))
            status = otherwise;
    }
    return status;
}

} // namespace simcam
