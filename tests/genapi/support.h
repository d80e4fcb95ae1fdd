// A camera that is memory alone, and descriptions in few words.
#ifndef KXINFO_TESTS_GENAPI_SUPPORT_H
#define KXINFO_TESTS_GENAPI_SUPPORT_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"
#include "genapi/nodemap.h"

/** The bytes of a camera, 0 where nothing was put; remembers who asked for what. */
class Memory : public genapi::Port {
public:
    void read(uint64_t address, uint8_t *bytes, size_t size, genapi::ByteOrder order) override;
    bool readTogether(uint64_t address, uint8_t *bytes, size_t size,
                      genapi::ByteOrder order) override;
    bool readApart(const std::vector<uint64_t> &addresses, uint8_t *bytes,
                   genapi::ByteOrder order) override;
    void write(uint64_t address, const uint8_t *bytes, size_t size,
               genapi::ByteOrder order) override;
    void requireKept() override {}
    std::chrono::milliseconds now() const override { return std::chrono::milliseconds(clock); }

    void put(uint64_t address, const std::vector<uint8_t> &bytes);
    void put32(uint64_t address, uint32_t value); // big endian
    std::vector<uint8_t> get(uint64_t address, size_t size) const;
    uint32_t get32(uint64_t address) const;

    /**
     * Since the last call: "r100 w0+8" read 4 bytes at 100, then wrote 8 at 0; "a0,8 l4" read
     * registers apart from each other, big endian and then a little one.
     */
    std::string accesses();
    /** Called before each access, unless empty; may throw what a port throws. */
    std::function<void(char what, uint64_t address)> before;

    bool readsTogether = false; // several registers at once
    bool readsApart = false;
    std::set<uint64_t> missing; // which is refused when registers are read apart
    int64_t clock = 0;          // milliseconds

private:
    void note(char what, uint64_t address, size_t size);

    std::map<uint64_t, uint8_t> bytes_;
    std::string accesses_;
};

/**
 * The elements of nodes that are written like this:
 *
 *     Integer A Value=1 pMax=Limit     kind, name, and what is in it; texts are escaped
 *     SwissKnife K pVariable.V=A Formula='V * 2'     after the dot its attribute, whatever its name
 *     Enumeration E EnumEntry.X={pIsAvailable=A Value=1} EnumEntry.Y=2 Value=1     elements in it
 *     IntReg R @16 unsigned big        the place, up to Cachable; Sign and Endianess
 *     IntReg R @16+2:RO:WriteAround big     of 2 bytes, not 4; RO, not RW; not NoCache
 *     IntReg R pAddress=A @+L:: big    no Address; the length is a node's; nothing of Cachable
 */
std::string nodes(const std::string &text);

/** \p pattern with \p text in the place of each '$'. */
std::string with(std::string pattern, const std::string &text);

/** A whole description, of schema 1.1, around elements, or around nodes() where they are none. */
std::string describe(const std::string &elements,
                     const std::string &port = "<Port Name=\"Device\"/>");

/** `<Kind Name="name">content</Kind>` */
std::string element(const std::string &kind, const std::string &name, const std::string &content);

/** The class of the GenICam exception that \p call ends with, without "Exception"; empty: none. */
std::string raised(const std::function<void()> &call);

/** The class of the exception that a description around \p elements is refused with. */
std::string refusal(const std::string &elements);

/** The map of a description around elements or nodes, over a memory of its own. */
struct Camera {
    explicit Camera(const std::string &elements, genapi::Use use = genapi::Use::Control)
        : map(describe(elements), memory, use) {}

    /** A node of that kind; throws a std::logic_error when there is none. */
    GenApi_3_0::INode &node(const std::string &name);
    template <class Kind>
    Kind &as(const std::string &name) {
        return dynamic_cast<Kind &>(node(name));
    }
    auto &integer(const std::string &name) { return as<GenApi_3_0::IInteger>(name); }
    auto &floating(const std::string &name) { return as<GenApi_3_0::IFloat>(name); }
    auto &boolean(const std::string &name) { return as<GenApi_3_0::IBoolean>(name); }
    auto &enumeration(const std::string &name) { return as<GenApi_3_0::IEnumeration>(name); }
    auto &value(const std::string &name) { return as<GenApi_3_0::IValue>(name); }

    std::string text(const std::string &name) { return value(name).ToString().c_str(); }
    GenApi_3_0::EAccessMode mode(const std::string &name) { return node(name).GetAccessMode(); }
    int64_t get(const std::string &name) { return integer(name).GetValue(); }
    double getFloat(const std::string &name) { return floating(name).GetValue(); }

    /** The same of several, whose names are separated by blanks. */
    std::vector<std::string> texts(const std::string &names) { return each(names, &Camera::text); }
    std::vector<int64_t> gets(const std::string &names) { return each(names, &Camera::get); }
    std::vector<GenApi_3_0::EAccessMode> modes(const std::string &names) {
        return each(names, &Camera::mode);
    }

    /** Writes a number, or a text; what is raised(). */
    template <class Number>
    [[nodiscard]] std::string set(const std::string &name, Number number, bool verify = true) {
        return raised([&] {
            if (auto *integer = dynamic_cast<GenApi_3_0::IInteger *>(&node(name)))
                integer->SetValue(static_cast<int64_t>(number), verify);
            else if (auto *enumeration = dynamic_cast<GenApi_3_0::IEnumeration *>(&node(name)))
                enumeration->SetIntValue(static_cast<int64_t>(number), verify);
            else
                floating(name).SetValue(static_cast<double>(number), verify);
        });
    }
    [[nodiscard]] std::string type(const std::string &name, const std::string &text,
                                   bool verify = true) {
        return raised([&] { value(name).FromString(text.c_str(), verify); });
    }
    /** What reading raises; as an integer or as a float, where it is one. */
    std::string refuses(const std::string &name, bool verify = false);

    Memory memory;
    genapi::NodeMap map;

private:
    template <class Value>
    std::vector<Value> each(const std::string &names, Value (Camera::*ask)(const std::string &)) {
        std::vector<Value> all;
        std::istringstream words(names);
        for (std::string name; words >> name;)
            all.push_back((this->*ask)(name));
        return all;
    }
};

#endif
