#include "support.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

void Memory::read(uint64_t address, uint8_t *bytes, size_t size, genapi::ByteOrder) {
    accesses_.push_back({'r', address, size});
    if (before)
        before('r', address);
    const std::vector<uint8_t> found = get(address, size);
    std::copy(found.begin(), found.end(), bytes);
}

bool Memory::readTogether(uint64_t address, uint8_t *bytes, size_t size, genapi::ByteOrder order) {
    if (readsTogether)
        read(address, bytes, size, order);
    return readsTogether;
}

void Memory::write(uint64_t address, const uint8_t *bytes, size_t size, genapi::ByteOrder) {
    accesses_.push_back({'w', address, size});
    if (before)
        before('w', address);
    put(address, std::vector<uint8_t>(bytes, bytes + size));
}

void Memory::put(uint64_t address, const std::vector<uint8_t> &bytes) {
    for (const uint8_t byte : bytes)
        bytes_[address++] = byte;
}

void Memory::put32(uint64_t address, uint32_t value) {
    put(address, {static_cast<uint8_t>(value >> 24), static_cast<uint8_t>(value >> 16),
                  static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)});
}

std::vector<uint8_t> Memory::get(uint64_t address, size_t size) const {
    std::vector<uint8_t> bytes(size);
    for (uint8_t &byte : bytes) {
        const auto found = bytes_.find(address++);
        byte = found == bytes_.end() ? uint8_t{0} : found->second;
    }
    return bytes;
}

uint32_t Memory::get32(uint64_t address) const {
    uint32_t value = 0;
    for (const uint8_t byte : get(address, 4))
        value = value << 8 | byte;
    return value;
}

std::vector<Memory::Access> Memory::accesses() {
    return std::exchange(accesses_, {});
}

std::string describe(const std::string &elements, const std::string &port) {
    return R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Test" VendorName="Test" StandardNameSpace="None" SchemaMajorVersion="1"
  SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
  ProductGuid="11111111-2222-3333-4444-555555555555" VersionGuid="11111111-2222-3333-4444-666666666666"
  xmlns="http://www.genicam.org/GenApi/Version_1_1">)" +
           elements + port + "</RegisterDescription>";
}

std::string element(const std::string &kind, const std::string &name, const std::string &content) {
    return "<" + kind + " Name=\"" + name + "\">" + content + "</" + kind + ">";
}

std::string constant(const std::string &name, int64_t value) {
    return element("Integer", name, "<Value>" + std::to_string(value) + "</Value>");
}

std::string constantFloat(const std::string &name, const std::string &value) {
    return element("Float", name, "<Value>" + value + "</Value>");
}

std::string place(uint64_t address, int64_t length, const std::string &mode,
                  const std::string &cachable) {
    return "<Address>" + std::to_string(address) + "</Address><Length>" + std::to_string(length) +
           "</Length><AccessMode>" + mode + "</AccessMode><pPort>Device</pPort>" +
           (cachable.empty() ? "" : "<Cachable>" + cachable + "</Cachable>");
}

std::string intReg(const std::string &name, uint64_t address, const std::string &mode) {
    return element("IntReg", name, place(address, 4, mode) + kUnsignedBig);
}

std::string raised(const std::function<void()> &call) {
    try {
        call();
        return "";
    } catch (const GenICam_3_0::AccessException &) {
        return "Access";
    } catch (const GenICam_3_0::InvalidArgumentException &) {
        return "InvalidArgument";
    } catch (const GenICam_3_0::LogicalErrorException &) {
        return "LogicalError";
    } catch (const GenICam_3_0::OutOfRangeException &) {
        return "OutOfRange";
    } catch (const GenICam_3_0::PropertyException &) {
        return "Property";
    } catch (const GenICam_3_0::RuntimeException &) {
        return "Runtime";
    } catch (const GenICam_3_0::TimeoutException &) {
        return "Timeout";
    }
}

std::string refusal(const std::string &elements) {
    return raised([&] { const Camera camera(elements); });
}

GenApi_3_0::INode &Camera::node(const std::string &name) {
    GenApi_3_0::INode *found = map.GetNode(name.c_str());
    if (!found)
        throw std::logic_error("no node " + name);
    return *found;
}
