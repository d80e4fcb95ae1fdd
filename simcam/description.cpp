#include "description.h"

#include "archive.h"
#include "descriptor.h"
#include "values.h"

#include <pugixml.hpp>

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <optional>
#include <stdexcept>

namespace simcam {

// Made by the build from dalsa-1936x1216.xml.
extern const unsigned char kBuiltInDescription[];
extern const size_t kBuiltInDescriptionSize;

namespace {

// From an XML file to registers in three steps: nodes are collected by name; each register node
// becomes a Register; then the nodes that users see (an Enumeration, a Float, ...) lend their names
// and their entries to the registers that their <pValue> names. Those nodes become Features beside.

// More than any camera has; a file that asks for more is a mistake, not a reason to fill memory.
constexpr int64_t kMaxRegisterBytes = 4 << 20;

// A description is some hundred kilobytes, the largest known 1.3 MB; what is far larger is none.
constexpr size_t kMaxFileSize = 16u << 20;

// The largest descriptions known have some thousand nodes. Each takes up to a page of memory.
constexpr size_t kMaxNodes = 65536;

// Real groups lie side by side. Each takes a little of the stack.
constexpr int kDeepestGroup = 16;

// Selectors of one register; real ones have two or three. Each is part of every cell's name.
constexpr size_t kMaxIndexes = 16;

using NodesByName = std::map<std::string, pugi::xml_node>;
using EntriesByName = std::map<std::string, std::shared_ptr<const Entries>>;

const char *const kRegisterNodes[] = {"IntReg",    "MaskedIntReg", "FloatReg",
                                      "StringReg", "Register",     "StructReg"};

bool isRegister(const pugi::xml_node &node) {
    return std::any_of(std::begin(kRegisterNodes), std::end(kRegisterNodes),
                       [&](const char *name) { return std::strcmp(name, node.name()) == 0; });
}

std::string textOf(const pugi::xml_node &node) {
    const std::string text = node.text().get();
    const auto isSpace = [](unsigned char c) { return std::isspace(c) != 0; };
    const auto begin = std::find_if_not(text.begin(), text.end(), isSpace);
    const auto end = std::find_if_not(text.rbegin(), std::make_reverse_iterator(begin), isSpace);
    return std::string(begin, end.base());
}

// Integers of a register node that must be plain numbers, and such that can be added up.
int64_t numberOf(const pugi::xml_node &node) {
    constexpr int64_t kLimit = int64_t{1} << 32;
    const std::optional<int64_t> value = toInteger(textOf(node));
    if (value && *value >= -kLimit && *value <= kLimit)
        return *value;
    const pugi::xml_node parent = node.parent();
    const pugi::xml_node reg = parent.attribute("Name") ? parent : parent.parent();
    throw std::runtime_error("register '" + std::string(reg.attribute("Name").value()) + "': <" +
                             node.name() + "> is '" + textOf(node) +
                             "', expected a number of 32 bits");
}

Entries entriesOf(const pugi::xml_node &enumeration) {
    Entries entries;
    for (const pugi::xml_node &entry : enumeration.children("EnumEntry")) {
        if (const auto value = toInteger(textOf(entry.child("Value"))))
            entries[*value] = entry.attribute("Name").value();
    }
    return entries;
}

Bytes encode(const Register &reg, const std::string &text) {
    const auto refuse = [&](const std::string &expected) {
        return std::runtime_error("register '" + reg.name + "': initial value '" + text +
                                  "', expected " + expected);
    };
    switch (reg.kind) {
    case Register::Kind::Integer: {
        const auto value = toInteger(text);
        if (!value || !fits(*value, reg))
            throw refuse("an integer of " + std::to_string(reg.width) + " bits");
        Bytes bytes(reg.length);
        storeInteger(*value, reg, bytes);
        return bytes;
    }
    case Register::Kind::Float: {
        const auto value = toFloat(text);
        if (!value)
            throw refuse("a number");
        return encodeFloat(*value, reg);
    }
    case Register::Kind::Text: {
        if (text.size() > reg.length)
            throw refuse("at most " + std::to_string(reg.length) + " characters");
        return encodeText(text, reg);
    }
    case Register::Kind::Block:
        break;
    }
    throw refuse("none: a block of bytes starts as zeros");
}

// <LSB>, <MSB> and <Bit> count from the most significant bit in big-endian registers.
void setField(Register &reg, const pugi::xml_node &node) {
    const unsigned bits = 8 * std::min<uint32_t>(reg.length, 8);
    reg.width = bits;
    pugi::xml_node low = node.child("LSB");
    pugi::xml_node high = node.child("MSB");
    if (!low || !high)
        low = high = node.child("Bit");
    if (!low)
        return;
    int64_t first = numberOf(low);
    int64_t last = numberOf(high);
    if (!reg.littleEndian) {
        first = bits - 1 - first;
        last = bits - 1 - last;
    }
    if (first > last)
        std::swap(first, last);
    if (first < 0 || last >= bits)
        throw std::runtime_error("register '" + reg.name + "': its bits lie outside of it");
    reg.shift = static_cast<unsigned>(first);
    reg.width = static_cast<unsigned>(last - first + 1);
}

Register::Kind kindOf(const pugi::xml_node &node) {
    const std::string name = node.name();
    if (name == "IntReg" || name == "MaskedIntReg" || name == "StructReg")
        return Register::Kind::Integer;
    if (name == "FloatReg")
        return Register::Kind::Float;
    return name == "StringReg" ? Register::Kind::Text : Register::Kind::Block;
}

Memory::Access accessOf(const pugi::xml_node &node) {
    const std::string mode = textOf(node.child("AccessMode"));
    if (mode == "RW")
        return Memory::kReadWrite;
    return mode == "WO" ? Memory::kWrite : Memory::kRead;
}

std::runtime_error tooLarge(const Register &reg) {
    return std::runtime_error("register '" + reg.name + "': more than " +
                              std::to_string(kMaxRegisterBytes) + " bytes");
}

// What is larger than the step to the next one overlaps it.
int64_t cellSize(const Register &reg) {
    return std::max(reg.stride, reg.length);
}

void setCells(Register &reg, const pugi::xml_node &extension) {
    const auto values = extension.children("Initial");
    int64_t count = std::max<int64_t>(1, std::distance(values.begin(), values.end()));
    if (const pugi::xml_node cells = extension.child("Cells"))
        count = std::max(count, numberOf(cells));
    if (count > kMaxRegisterBytes / cellSize(reg))
        throw tooLarge(reg);
    reg.cellCount = static_cast<uint32_t>(count);
    for (const pugi::xml_node &value : values)
        reg.initial.push_back(encode(reg, textOf(value)));
}

// Nothing for a register whose place or length is computed.
std::optional<Register> toRegister(const pugi::xml_node &node, const EntriesByName &selectors) {
    if (!node.child("Address") || node.child("pAddress") || node.child("IntSwissKnife") ||
        node.child("pLength"))
        return std::nullopt;

    Register reg;
    reg.name = reg.feature = node.attribute("Name").value();
    reg.kind = kindOf(node);
    reg.access = accessOf(node);
    std::string endianness = textOf(node.child("Endianess"));
    if (endianness.empty())
        endianness = textOf(node.child("Endianness"));
    reg.littleEndian = endianness == "LittleEndian";
    reg.isSigned = textOf(node.child("Sign")) == "Signed";

    int64_t address = 0;
    for (const pugi::xml_node &part : node.children("Address"))
        address += numberOf(part);
    const int64_t length = node.child("Length") ? numberOf(node.child("Length")) : 4;
    if (length <= 0 || length > kMaxRegisterBytes)
        throw std::runtime_error("register '" + reg.name + "': its length is " +
                                 std::to_string(length) + " bytes");
    if (reg.kind == Register::Kind::Float && length != 4 && length != 8)
        throw std::runtime_error("register '" + reg.name + "': a float has 4 or 8 bytes, not " +
                                 std::to_string(length));
    reg.length = static_cast<uint32_t>(length);
    reg.stride = reg.length;
    if (reg.kind == Register::Kind::Integer)
        setField(reg, node);

    for (const pugi::xml_node &index : node.children("pIndex")) {
        const int64_t stride = toInteger(index.attribute("Offset").value()).value_or(0);
        if (stride > kMaxRegisterBytes)
            throw tooLarge(reg);
        const auto selector = selectors.find(textOf(index));
        reg.indexes.push_back({textOf(index),
                               stride > 0 ? static_cast<uint32_t>(stride) : reg.length,
                               selector != selectors.end() ? selector->second : nullptr});
    }
    if (reg.indexes.size() > kMaxIndexes)
        throw std::runtime_error("register '" + reg.name + "': it has " +
                                 std::to_string(reg.indexes.size()) +
                                 " <pIndex>, expected at most " + std::to_string(kMaxIndexes));
    std::sort(reg.indexes.begin(), reg.indexes.end(),
              [](const auto &a, const auto &b) { return a.stride > b.stride; });
    if (!reg.indexes.empty())
        reg.stride = reg.indexes.back().stride;
    setCells(reg, node.child("Extension"));

    const int64_t size = static_cast<int64_t>(reg.stride) * (reg.cellCount - 1) + length;
    if (address < 0 || address + size > int64_t{1} << 32)
        throw std::runtime_error("register '" + reg.name + "': it lies outside of the 32-bit " +
                                 "address space");
    reg.address = static_cast<uint32_t>(address);
    return reg;
}

void collect(const pugi::xml_node &parent, NodesByName &nodes, int depth = 0) {
    if (depth > kDeepestGroup)
        throw std::runtime_error("groups lie in groups more than " + std::to_string(kDeepestGroup) +
                                 " deep");
    for (const pugi::xml_node &node : parent.children()) {
        if (std::strcmp(node.name(), "Group") == 0)
            collect(node, nodes, depth + 1);
        else if (node.attribute("Name"))
            nodes[node.attribute("Name").value()] = node;
        if (nodes.size() > kMaxNodes)
            throw std::runtime_error("it has more than " + std::to_string(kMaxNodes) + " nodes");
    }
}

// Each enumeration by its own name and by that of the register that it keeps its entry in.
EntriesByName selectorsOf(const NodesByName &nodes) {
    EntriesByName selectors;
    for (const auto &[name, node] : nodes) {
        if (std::strcmp(node.name(), "Enumeration") == 0)
            selectors[name] = selectors[textOf(node.child("pValue"))] =
                std::make_shared<const Entries>(entriesOf(node));
    }
    return selectors;
}

std::vector<Register> registersOf(const NodesByName &nodes) {
    std::vector<Register> registers;
    const EntriesByName selectors = selectorsOf(nodes);
    int64_t total = 0;
    for (const auto &[name, node] : nodes) {
        if (!isRegister(node))
            continue;
        if (auto reg = toRegister(node, selectors)) {
            total += cellSize(*reg) * reg->cellCount;
            registers.push_back(std::move(*reg));
        }
    }
    if (total > kMaxRegisterBytes)
        throw std::runtime_error("its registers take more than " +
                                 std::to_string(kMaxRegisterBytes) + " bytes");

    std::map<std::string, Register *> byName;
    for (Register &reg : registers)
        byName[reg.name] = &reg;
    for (const auto &[name, node] : nodes) {
        const auto held = byName.find(textOf(node.child("pValue")));
        if (held == byName.end())
            continue;
        held->second->feature = name;
        if (std::strcmp(node.name(), "Enumeration") == 0)
            held->second->entries = entriesOf(node);
    }
    return registers;
}

// Why a node has no starting value, by its kind. Nodes that are not listed hold values.
const std::map<std::string, std::string> kObstacles{
    {"SwissKnife", "is computed by a formula"},
    {"IntSwissKnife", "is computed by a formula"},
    {"Converter", "is converted by a formula"},
    {"IntConverter", "is converted by a formula"},
    {"Command", "is a command"},
    {"Category", "is a category"},
    {"Port", "is the way to the registers"},
};

Feature toFeature(const pugi::xml_node &node) {
    Feature feature;
    const auto obstacle = kObstacles.find(node.name());
    if (obstacle != kObstacles.end()) {
        feature.obstacle = obstacle->second;
        return feature;
    }
    static const std::map<std::string, Feature::Kind> kinds{
        {"Float", Feature::Kind::Float},
        {"Boolean", Feature::Kind::Boolean},
        {"Enumeration", Feature::Kind::Enumeration},
        {"String", Feature::Kind::Text}};
    if (const auto kind = kinds.find(node.name()); kind != kinds.end())
        feature.kind = kind->second;

    for (const char *const way : {"pValue", "pValueCopy"}) {
        for (const pugi::xml_node &holder : node.children(way))
            feature.holders.push_back(textOf(holder));
    }
    feature.index = textOf(node.child("pIndex"));
    for (const pugi::xml_node &holder : node.children("pValueIndexed")) {
        if (const auto index = toInteger(holder.attribute("Index").value()))
            feature.indexed[*index] = textOf(holder);
    }
    feature.otherwise = textOf(node.child("pValueDefault"));
    if (feature.holders.empty() && feature.index.empty())
        feature.obstacle = "is a constant, which no register holds";

    feature.min = textOf(node.child("Min"));
    feature.max = textOf(node.child("Max"));
    feature.on = toInteger(textOf(node.child("OnValue"))).value_or(1);
    feature.off = toInteger(textOf(node.child("OffValue"))).value_or(0);
    feature.constant = toInteger(textOf(node.child("Value")));
    for (const pugi::xml_node &entry : node.children("EnumEntry")) {
        if (const auto value = toInteger(textOf(entry.child("Value"))))
            feature.entries.emplace_back(entry.attribute("Name").value(), *value);
    }
    return feature;
}

void readModel(Description &description) {
    pugi::xml_document document;
    const Bytes &xml = description.plain;
    const pugi::xml_parse_result parsed = document.load_buffer(xml.data(), xml.size());
    if (!parsed)
        throw std::runtime_error("not well-formed XML at byte " + std::to_string(parsed.offset) +
                                 ": " + parsed.description());
    const pugi::xml_node root = document.child("RegisterDescription");
    if (!root)
        throw std::runtime_error(
            "no <RegisterDescription>, so it is no GenICam camera description");

    NodesByName nodes;
    collect(root, nodes);
    description.registers = registersOf(nodes);
    for (const auto &[name, node] : nodes) {
        if (!isRegister(node))
            description.features.emplace(name, toFeature(node));
        for (const pugi::xml_node &listed : node.children("pFeature")) {
            const auto found = nodes.find(textOf(listed));
            if (found != nodes.end() && std::strcmp(found->second.name(), "Category") != 0)
                description.featureNames.push_back(found->first);
        }
    }
}

// A pipe might keep the program waiting, and a device never end.
Bytes readFile(const std::string &path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat found {};
    if (file.get() < 0 || fstat(file.get(), &found) != 0)
        throw std::runtime_error(std::string("it cannot be read: ") + strerror(errno));
    if (!S_ISREG(found.st_mode))
        throw std::runtime_error("it is no regular file, expected a GenICam file, XML or zip");
    const auto size = static_cast<size_t>(found.st_size);
    if (size > kMaxFileSize)
        throw std::runtime_error("it is too large, " + std::to_string(size) +
                                 " bytes, expected at most " + std::to_string(kMaxFileSize));
    Bytes content(size);
    if (read(file.get(), content.data(), size) != found.st_size)
        throw std::runtime_error("it cannot be read to its end");
    return content;
}

// A name that stands in "Local:NAME.zip;ADDRESS;LENGTH".
std::string urlName(const std::string &path) {
    std::string name = path.substr(path.find_last_of('/') + 1);
    name = name.substr(0, std::min(name.find_last_of('.'), size_t{64}));
    for (char &c : name) {
        if (!std::isalnum(static_cast<unsigned char>(c)) && !std::strchr("-_.", c))
            c = '_';
    }
    return name.empty() ? "camera" : name;
}

} // namespace

std::shared_ptr<const Description> Description::builtIn() {
    auto description = std::make_shared<Description>();
    description->name = "dalsa-1936x1216";
    description->plain.assign(kBuiltInDescription, kBuiltInDescription + kBuiltInDescriptionSize);
    description->zipped = zip(description->name + ".xml", description->plain);
    readModel(*description);
    return description;
}

std::shared_ptr<const Description> Description::load(const std::string &path) {
    try {
        Bytes content = readFile(path);
        auto description = std::make_shared<Description>();
        description->name = urlName(path);
        if (isZip(content)) {
            description->plain = unzip(content, kMaxFileSize);
            description->zipped = std::move(content);
        } else {
            description->plain = std::move(content);
            description->zipped = zip(description->name + ".xml", description->plain);
        }
        readModel(*description);
        return description;
    } catch (const std::runtime_error &error) {
        throw std::runtime_error("description '" + path + "': " + error.what());
    }
}

} // namespace simcam
