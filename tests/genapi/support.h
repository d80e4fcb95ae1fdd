// A camera that is memory alone, and descriptions around a few elements.
#ifndef KXINFO_TESTS_GENAPI_SUPPORT_H
#define KXINFO_TESTS_GENAPI_SUPPORT_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"
#include "genapi/nodemap.h"

/** The bytes of a camera, 0 where nothing was put; remembers who asked for what. */
class Memory : public genapi::Port {
public:
    struct Access {
        char what; // 'r' or 'w'
        uint64_t address;
        size_t size;
        bool operator==(const Access &other) const {
            return what == other.what && address == other.address && size == other.size;
        }
        friend std::ostream &operator<<(std::ostream &out, const Access &access) {
            return out << access.what << ' ' << access.address << " (" << access.size << ')';
        }
    };

    void read(uint64_t address, uint8_t *bytes, size_t size, genapi::ByteOrder order) override;
    bool readTogether(uint64_t address, uint8_t *bytes, size_t size,
                      genapi::ByteOrder order) override;
    void write(uint64_t address, const uint8_t *bytes, size_t size,
               genapi::ByteOrder order) override;
    void requireKept() override {}
    std::chrono::milliseconds now() const override { return std::chrono::milliseconds(clock); }

    void put(uint64_t address, const std::vector<uint8_t> &bytes);
    void put32(uint64_t address, uint32_t value); // big endian
    std::vector<uint8_t> get(uint64_t address, size_t size) const;
    uint32_t get32(uint64_t address) const;

    /** Since the last call. */
    std::vector<Access> accesses();
    /** Called before each access, unless empty; may throw what a port throws. */
    std::function<void(char what, uint64_t address)> before;

    bool readsTogether = false; // several registers at once
    int64_t clock = 0;          // milliseconds

private:
    std::map<uint64_t, uint8_t> bytes_;
    std::vector<Access> accesses_;
};

inline Memory::Access reading(uint64_t address, size_t size = 4) {
    return {'r', address, size};
}
inline Memory::Access writing(uint64_t address, size_t size = 4) {
    return {'w', address, size};
}

/** A whole description around \p elements, of schema 1.1. */
std::string describe(const std::string &elements,
                     const std::string &port = "<Port Name=\"Device\"/>");

/** `<Kind Name="name">content</Kind>` */
std::string element(const std::string &kind, const std::string &name, const std::string &content);

/** An Integer or a Float with a Value, without a range. */
std::string constant(const std::string &name, int64_t value);
std::string constantFloat(const std::string &name, const std::string &value);

/** What every register begins with: Address to Cachable; nothing of the last when it is empty. */
std::string place(uint64_t address, int64_t length, const std::string &mode = "RW",
                  const std::string &cachable = "NoCache");
/** What an IntReg goes on with. */
constexpr char kUnsignedBig[] = "<Sign>Unsigned</Sign><Endianess>BigEndian</Endianess>";
constexpr char kSignedBig[] = "<Sign>Signed</Sign><Endianess>BigEndian</Endianess>";
constexpr char kBig[] = "<Endianess>BigEndian</Endianess>";

/** An IntReg of 4 bytes, big endian, RW, not kept (NoCache). */
std::string intReg(const std::string &name, uint64_t address, const std::string &mode = "RW");

/** The class of the GenICam exception that \p call ends with, without "Exception"; empty: none. */
std::string raised(const std::function<void()> &call);

/** The class of the exception that a description around \p elements is refused with. */
std::string refusal(const std::string &elements);

/** The map of a description around \p elements, over a memory of its own. */
struct Camera {
    explicit Camera(const std::string &elements) : map(describe(elements), memory) {}
    /** Of a whole description. */
    Camera(const std::string &description, genapi::Use use) : map(description, memory, use) {}

    /** A node of that kind; throws a std::logic_error when there is none. */
    GenApi_3_0::INode &node(const std::string &name);
    template <class Kind>
    Kind &as(const std::string &name) {
        return dynamic_cast<Kind &>(node(name));
    }
    GenApi_3_0::IInteger &integer(const std::string &name) {
        return as<GenApi_3_0::IInteger>(name);
    }
    GenApi_3_0::IFloat &floating(const std::string &name) { return as<GenApi_3_0::IFloat>(name); }
    GenApi_3_0::IBoolean &boolean(const std::string &name) {
        return as<GenApi_3_0::IBoolean>(name);
    }
    GenApi_3_0::IEnumeration &enumeration(const std::string &name) {
        return as<GenApi_3_0::IEnumeration>(name);
    }
    GenApi_3_0::IValue &value(const std::string &name) { return as<GenApi_3_0::IValue>(name); }
    std::string text(const std::string &name) { return value(name).ToString().c_str(); }
    GenApi_3_0::EAccessMode mode(const std::string &name) { return node(name).GetAccessMode(); }

    Memory memory;
    genapi::NodeMap map;
};

#endif
