// A camera's description and its memory, and everything that may be asked of the features. What
// begins as a document is one; other bytes say how to make one up, that is in order mostly.
//
// What the camera says is the camera's affair. The node map must refuse it, or answer within its
// bounds: GenICam's exceptions come out and what the port throws, nothing else. What cannot be
// read is not read, what cannot be written is not written.

#include "input.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "genapi/bounds.h"
#include "genapi/nodemap.h"

namespace {

using namespace GenApi_3_0;

// Of one operation, and of all: what is left is not asked.
constexpr std::chrono::seconds kLongestOperation(5);
constexpr std::chrono::seconds kLongestUse(2);
constexpr size_t kMostNodesAsked = 500;

// The camera does not answer.
struct Silence {};

// Memory made of the input; where it is written it keeps that.
class Device : public genapi::Port {
public:
    Device(const uint8_t *data, size_t size) : data_(data, data + size) {
        if (size != 0)
            silentOnes_ = data[size - 1];
    }

    void read(uint64_t address, uint8_t *bytes, size_t size, genapi::ByteOrder) override {
        access(address, size);
        for (size_t i = 0; i < size; ++i) {
            const auto written = written_.find(address + i);
            bytes[i] = written != written_.end() ? written->second : original(address + i);
        }
    }

    // One device in two reads several registers at once.
    bool readTogether(uint64_t address, uint8_t *bytes, size_t size,
                      genapi::ByteOrder order) override {
        MUST(size % 4 == 0 && size <= genapi::kMostTogether, "%zu bytes are read at once", size);
        if (silentOnes_ % 2 != 0)
            return false;
        read(address, bytes, size, order);
        return true;
    }

    void write(uint64_t address, const uint8_t *bytes, size_t size, genapi::ByteOrder) override {
        access(address, size);
        MUST(mayBeWritten, "nothing is written at 0x%llx",
             static_cast<unsigned long long>(address));
        for (size_t i = 0; i < size; ++i)
            written_[address + i] = bytes[i];
    }

    void requireKept() override {}

    bool mayBeWritten = true;

private:
    // The last byte says which addresses do not answer: none where it is below 0xE0.
    void access(uint64_t address, size_t size) const {
        MUST(size >= 1 && size <= genapi::kLongestRegister, "a register has %zu bytes", size);
        if (silentOnes_ >= 0xE0 && ((address / 4) & 0x1F) == (silentOnes_ & 0x1F))
            throw Silence();
    }

    uint8_t original(uint64_t address) const {
        return data_.empty() ? uint8_t{0} : data_[(address * 7 + address / 256) % data_.size()];
    }

    std::vector<uint8_t> data_;
    std::map<uint64_t, uint8_t> written_;
    uint8_t silentOnes_ = 0;
};

// Whether it went well; anything but the exceptions that may come out ends the process.
template <class Do>
bool went(Do operation) {
    const auto start = std::chrono::steady_clock::now();
    bool well = false;
    try {
        operation();
        well = true;
    } catch (const GenICam_3_0::GenericException &problem) {
        MUST(*problem.GetDescription(), "an exception says what went wrong");
    } catch (const Silence &) {
    }
    MUST(std::chrono::steady_clock::now() - start < kLongestOperation, "an operation ends in time");
    return well;
}

constexpr const char *kNumbers[] = {"0",
                                    "1",
                                    "-1",
                                    "2",
                                    "7",
                                    "8",
                                    "16",
                                    "255",
                                    "256",
                                    "0xFFFF",
                                    "65537",
                                    "2147483647",
                                    "-2147483648",
                                    "0xFFFFFFFF",
                                    "4294967296",
                                    "9223372036854775807",
                                    "-9223372036854775808",
                                    "0x7FFFFFFFFFFFFFFF",
                                    "0xFFFFFFFFFFFFFFFF",
                                    "99999999999999999999"};
constexpr const char *kFloats[] = {
    "0.0",   "1.5", "-2.25", "1e-300", "1e308", "INF", "-INF", "NaN", "1.7976931348623157e308",
    "9.3e18"};
constexpr const char *kModes[] = {"RO", "WO", "RW"};
constexpr const char *kNotations[] = {"Automatic", "Fixed", "Scientific"};
constexpr const char *kCachables[] = {"NoCache", "WriteThrough", "WriteAround"};
constexpr const char *kOperators[] = {"+",  "-", "*",  "/", "%", "**", "&",  "|",  "^", "<<",
                                      ">>", "=", "<>", "<", ">", "<=", ">=", "&&", "||"};
constexpr const char *kFunctions[] = {"SGN",  "NEG",   "SIN",   "COS",  "TAN",  "ASIN",
                                      "ACOS", "ATAN",  "EXP",   "LN",   "LG",   "SQRT",
                                      "ABS",  "TRUNC", "FLOOR", "CEIL", "ROUND"};
constexpr const char *kTokens[] = {"(",  ")",  "?",  ":",  ",",        ".",     "~",
                                   "-",  "!",  "==", "PI", "e",        "V0",    "V1",
                                   "1e", "0x", "5.", "\t", "\xC3\xA9", "V0.Min"};
constexpr const char *kWritten[] = {"",
                                    "0",
                                    "1",
                                    "-1",
                                    "12",
                                    "0xFF",
                                    "9223372036854775807",
                                    "1e400",
                                    "true",
                                    "inf",
                                    "nan",
                                    "2.5",
                                    "Entry0",
                                    "192.168.0.1",
                                    "00:11:22:33:44:55",
                                    "abcdef",
                                    "  7 ",
                                    "15ab",
                                    "A",
                                    "Off",
                                    "0x00ff01",
                                    "a text that is longer than most registers of texts"};

// What a description consists of, by what its first bytes say.
class Author {
public:
    explicit Author(Input &input) : input_(input) {}

    std::string document() {
        const bool backwards = input_.oneIn(2);
        const unsigned depth = input_.oneIn(8) ? input_.byte() : input_.below(3);
        const unsigned count = 1 + input_.below(40);
        for (unsigned i = 0; i < count; ++i)
            kinds_.push_back(input_.oneIn(3) ? kIntReg : input_.below(kKinds));
        std::vector<std::string> nodes;
        for (unsigned i = 0; i < count; ++i)
            nodes.push_back(node(i));
        if (backwards)
            std::reverse(nodes.begin(), nodes.end());
        std::string text =
            "<RegisterDescription ModelName='M' VendorName='V' StandardNameSpace='None' "
            "SchemaMajorVersion='1' SchemaMinorVersion='1' SchemaSubMinorVersion='0' "
            "MajorVersion='1' MinorVersion='0' SubMinorVersion='0' ProductGuid='P' VersionGuid='V' "
            "xmlns='http://www.genicam.org/GenApi/Version_1_1'>";
        for (unsigned i = 0; i < depth; ++i)
            text += "<Group Comment='g'>";
        for (const std::string &each : nodes)
            text += each;
        for (unsigned i = 0; i < depth; ++i)
            text += "</Group>";
        return text + "<Port Name='Device'/></RegisterDescription>";
    }

private:
    enum Kind : unsigned {
        kInteger,
        kIntReg,
        kMaskedIntReg,
        kStructReg,
        kBoolean,
        kCommand,
        kFloat,
        kFloatReg,
        kEnumeration,
        kString,
        kStringReg,
        kRegister,
        kConverter,
        kIntConverter,
        kSwissKnife,
        kIntSwissKnife,
        kCategory,
        kKinds
    };
    static constexpr const char *kNames[kKinds] = {
        "Integer",   "IntReg",       "MaskedIntReg", "StructReg",     "Boolean",   "Command",
        "Float",     "FloatReg",     "Enumeration",  "String",        "StringReg", "Register",
        "Converter", "IntConverter", "SwissKnife",   "IntSwissKnife", "Category"};

    using Kinds = std::set<unsigned>;
    static const Kinds &floats() {
        static const Kinds kinds{kFloat, kFloatReg, kConverter, kSwissKnife};
        return kinds;
    }
    static const Kinds &conditions() {
        static const Kinds kinds{kInteger,       kIntReg,    kMaskedIntReg, kIntConverter,
                                 kIntSwissKnife, kStructReg, kBoolean};
        return kinds;
    }
    static bool isNumber(unsigned kind, bool ofFloat) {
        return floats().count(kind) || kind == kEnumeration ||
               (conditions().count(kind) && !(ofFloat && kind == kBoolean));
    }

    template <size_t Size>
    std::string oneOf(const char *const (&texts)[Size]) {
        return texts[input_.below(Size)];
    }
    // In this order, whatever the compiler: they are made of what the input says next.
    static std::string all(std::initializer_list<std::string> parts) {
        std::string text;
        for (const std::string &part : parts)
            text += part;
        return text;
    }
    static std::string element(const std::string &name, const std::string &text) {
        return "<" + name + ">" + text + "</" + name + ">";
    }
    static std::string name(unsigned number) { return "N" + std::to_string(number); }
    static std::string escaped(const std::string &text) {
        std::string safe;
        for (const char c : text) {
            if (c == '<')
                safe += "&lt;";
            else if (c == '&')
                safe += "&amp;";
            else
                safe += c;
        }
        return safe;
    }

    // Of those before it one that fits; now and then any, itself and the unknown among them.
    template <class Fits>
    std::string to(unsigned self, Fits fits) {
        const unsigned choice = input_.byte();
        if (choice >= 0xFC)
            return name(choice % (static_cast<unsigned>(kinds_.size()) + 1));
        std::vector<unsigned> fitting;
        for (unsigned i = 0; i < self; ++i) {
            if (fits(kinds_[i]))
                fitting.push_back(i);
        }
        return fitting.empty() ? "" : name(fitting[choice % fitting.size()]);
    }
    std::string toNumber(unsigned self) {
        const bool ofFloat = floats().count(kinds_[self]) != 0;
        return to(self, [ofFloat](unsigned kind) { return isNumber(kind, ofFloat); });
    }

    // Nothing where there is nothing to refer to.
    std::string link(const std::string &element, const std::string &target) {
        return target.empty() ? "" : Author::element(element, target);
    }
    std::string constant(unsigned self) {
        return kinds_[self] == kFloat && input_.oneIn(2) ? oneOf(kFloats) : oneOf(kNumbers);
    }
    // A constant or the way to one.
    std::string either(const std::string &what, unsigned self) {
        const std::string target = input_.oneIn(2) ? "" : toNumber(self);
        return target.empty() ? element(what, constant(self)) : element("p" + what, target);
    }

    std::string common(unsigned self) {
        const auto isCondition = [](unsigned kind) { return conditions().count(kind) != 0; };
        std::string text;
        for (const char *const condition : {"pIsImplemented", "pIsAvailable", "pIsLocked"}) {
            if (input_.oneIn(8))
                text += link(condition, to(self, isCondition));
        }
        if (input_.oneIn(12))
            text += element("ImposedAccessMode", mode());
        return text;
    }
    std::string mode() { return oneOf(kModes); }
    std::string invalidators(unsigned self) {
        return input_.oneIn(4) ? link("pInvalidator", to(self, [](unsigned) { return true; })) : "";
    }
    std::string bounds(unsigned self) {
        std::string text;
        for (const char *const bound : {"Min", "Max", "Inc"}) {
            if (input_.oneIn(3))
                text += either(bound, self);
        }
        return text;
    }
    std::string shown() {
        constexpr const char *kShown[] = {"Linear",    "Logarithmic", "Boolean",   "PureNumber",
                                          "HexNumber", "IPV4Address", "MACAddress"};
        return input_.oneIn(4) ? element("Representation", oneOf(kShown)) : "";
    }
    std::string precision() {
        std::string text;
        if (input_.oneIn(4))
            text += element("DisplayNotation", oneOf(kNotations));
        if (input_.oneIn(4))
            text += element("DisplayPrecision", oneOf(kNumbers));
        return text;
    }

    std::string indexed(unsigned self) {
        const std::string index = toNumber(self);
        if (index.empty())
            return element("Value", constant(self));
        std::string text = element("pIndex", index);
        for (unsigned i = input_.below(4); i > 0; --i) {
            const std::string target = toNumber(self);
            const std::string which = " Index='" + std::to_string(input_.below(4)) + "'>";
            text += target.empty() || input_.oneIn(2)
                        ? "<ValueIndexed" + which + constant(self) + "</ValueIndexed>"
                        : "<pValueIndexed" + which + target + "</pValueIndexed>";
        }
        return text + either("ValueDefault", self);
    }

    std::string address(unsigned self) {
        std::string text = element("Address", std::to_string(4 * input_.byte()));
        while (input_.oneIn(4)) {
            const std::string target = toNumber(self);
            switch (input_.below(5)) {
            case 0:
                text += element("Address", oneOf(kNumbers));
                break;
            case 1:
                text += link("pAddress", target);
                break;
            case 2:
                if (!target.empty())
                    text += "<pIndex Offset='" + oneOf(kNumbers) + "'>" + target + "</pIndex>";
                break;
            case 3:
                if (!target.empty())
                    text += "<pIndex pOffset='" + target + "'>" + target + "</pIndex>";
                break;
            default:
                text += all({"<IntSwissKnife Name='A'>", variables(self),
                             element("Formula", formula()), "</IntSwissKnife>"});
            }
        }
        return text;
    }
    std::string registers(unsigned self, unsigned length) {
        const std::string target = input_.oneIn(16) ? toNumber(self) : "";
        std::string text = address(self);
        text +=
            target.empty() ? element("Length", std::to_string(length)) : element("pLength", target);
        text += element("AccessMode", input_.oneIn(3) ? mode() : "RW") + element("pPort", "Device");
        if (input_.oneIn(2))
            text += element("Cachable", oneOf(kCachables));
        return text + invalidators(self);
    }
    // Lengths that fit, mostly.
    unsigned length(std::initializer_list<unsigned> usual) {
        return input_.oneIn(24) ? 257 * input_.byte() : usual.begin()[input_.byte() % usual.size()];
    }
    std::string sign() {
        return input_.oneIn(2) ? element("Sign", input_.oneIn(2) ? "Signed" : "Unsigned") : "";
    }
    std::string endianess(bool little) {
        return element("Endianess", little ? "LittleEndian" : "BigEndian");
    }
    std::string field(bool little, unsigned length) {
        const unsigned bits = length ? 8 * length : 8;
        const unsigned a = input_.byte() % bits;
        const unsigned b = input_.byte() % bits;
        if (a == b)
            return element("Bit", std::to_string(a));
        return element("LSB", std::to_string(little ? std::min(a, b) : std::max(a, b))) +
               element("MSB", std::to_string(little ? std::max(a, b) : std::min(a, b)));
    }

    std::string variables(unsigned self) {
        constexpr const char *kSuffixes[] = {
            "", "", "", "", ".Value", ".Min", ".Max", ".Inc", ".Entry.Entry0", ".Else"};
        std::string text;
        for (unsigned i = 0; i < 3; ++i) {
            const std::string target = toNumber(self);
            if (!target.empty())
                text += "<pVariable Name='V" + std::to_string(i) + oneOf(kSuffixes) + "'>" +
                        target + "</pVariable>";
        }
        if (input_.oneIn(8))
            text += "<Constant Name='C'>" + oneOf(kNumbers) + "</Constant>";
        if (input_.oneIn(8))
            text += "<Expression Name='X'>" + formula() + "</Expression>";
        return text;
    }
    std::string operand() {
        constexpr const char *kOperands[] = {"V0", "V1", "V2", "C", "X", "TO", "FROM", "1", "2"};
        return input_.oneIn(3) ? oneOf(kNumbers) : oneOf(kOperands);
    }
    std::string expression(unsigned depth) {
        if (depth == 0)
            return operand();
        const std::string first = expression(depth - 1);
        switch (input_.below(6)) {
        case 0:
            return "(" + first + ")";
        case 1:
            return oneOf(kFunctions) + "(" + first + ")";
        case 2:
            return all({"(", first, ") ? ", operand(), " : (", expression(depth - 1), ")"});
        case 3:
            return "(-" + first + ")";
        default:
            return all({first, " ", oneOf(kOperators), " ", operand()});
        }
    }
    std::string formula() {
        if (!input_.oneIn(8))
            return escaped(expression(input_.below(5)));
        if (input_.oneIn(8)) // as deep as it goes
            return all(
                {std::string(16 * input_.byte(), '('), "1", std::string(16 * input_.byte(), ')')});
        std::string text;
        for (unsigned i = input_.below(24); i > 0; --i)
            text += input_.oneIn(2) ? oneOf(kTokens) : oneOf(kOperators);
        return escaped(text);
    }

    std::string entries(unsigned self) {
        const auto isCondition = [](unsigned kind) { return conditions().count(kind) != 0; };
        std::string text;
        for (unsigned i = 0; i < 1 + input_.below(5); ++i) {
            text += "<EnumEntry Name='Entry" + std::to_string(i) + "'>";
            if (input_.oneIn(4))
                text += link("pIsImplemented", to(self, isCondition));
            if (input_.oneIn(4))
                text += link("pIsAvailable", to(self, isCondition));
            text += element("Value", input_.oneIn(4) ? oneOf(kNumbers) : std::to_string(i));
            if (input_.oneIn(4))
                text += element("Symbolic", "Symbol" + std::to_string(input_.below(3)));
            text += "</EnumEntry>";
        }
        return text;
    }
    std::string selected(unsigned self) {
        return input_.oneIn(4) ? link("pSelected", to(self, [](unsigned) { return true; })) : "";
    }

    std::string valueOf(unsigned self) {
        switch (input_.below(4)) {
        case 0:
            return element("Value", constant(self));
        case 1:
            return indexed(self);
        default:
            break;
        }
        const std::string target = toNumber(self);
        if (target.empty())
            return element("Value", constant(self));
        std::string text;
        if (kinds_[self] == kInteger && input_.oneIn(4))
            text += link("pValueCopy", toNumber(self));
        return text + element("pValue", target);
    }
    // Either a register or formula below it, or a number of its own.
    std::string plainValueOf(unsigned self) {
        const std::string target = toNumber(self);
        return target.empty() ? element("Value", std::to_string(input_.below(2)))
                              : element("pValue", target);
    }
    std::string conversion(unsigned self) {
        constexpr const char *kSlopes[] = {"Increasing", "Decreasing", "Varying", "Automatic"};
        const std::string target = toNumber(self);
        std::string text = variables(self);
        text += element("FormulaTo", input_.oneIn(2) ? "FROM / 2" : formula());
        text += element("FormulaFrom", input_.oneIn(2) ? "TO * 2" : formula());
        text += element("pValue", target.empty() ? name(self) : target);
        text += shown();
        if (kinds_[self] == kConverter)
            text += precision();
        if (input_.oneIn(2))
            text += element("Slope", oneOf(kSlopes));
        if (kinds_[self] == kConverter && input_.oneIn(4))
            text += element("IsLinear", "Yes");
        return text;
    }

    std::string contents(unsigned self) {
        const bool little = input_.oneIn(2);
        unsigned bytes = 0;
        switch (kinds_[self]) {
        case kInteger:
            return all({common(self), invalidators(self), valueOf(self), bounds(self), shown(),
                        selected(self)});
        case kIntReg:
            return all({common(self), registers(self, length({4, 4, 1, 2, 3, 8})), sign(),
                        endianess(little), shown(), selected(self)});
        case kMaskedIntReg:
            bytes = length({4, 4, 1, 2, 8});
            return all({common(self), registers(self, bytes), field(little, bytes), sign(),
                        endianess(little), shown()});
        case kBoolean:
            return all({common(self), plainValueOf(self),
                        (input_.oneIn(3) ? element("OnValue", oneOf(kNumbers)) : "")});
        case kCommand:
            return all({common(self), plainValueOf(self), either("CommandValue", self)});
        case kFloat:
            return all(
                {common(self), invalidators(self), valueOf(self), bounds(self), precision()});
        case kFloatReg:
            return all(
                {common(self), registers(self, length({4, 8})), endianess(little), precision()});
        case kEnumeration:
            return all({common(self), entries(self), plainValueOf(self), selected(self)});
        case kString: {
            const std::string target =
                to(self, [](unsigned kind) { return kind == kString || kind == kStringReg; });
            return all({common(self),
                        (target.empty() ? element("Value", "a text") : element("pValue", target))});
        }
        case kStringReg:
        case kRegister:
            return all({common(self), registers(self, length({4, 16, 64}))});
        case kConverter:
        case kIntConverter:
            return all({common(self), conversion(self)});
        case kSwissKnife:
            return all({common(self), variables(self), element("Formula", formula()), precision()});
        case kIntSwissKnife:
            return all({common(self), variables(self), element("Formula", formula()), shown()});
        default: { // a category
            std::string text = common(self);
            for (unsigned i = input_.below(6); i > 0; --i)
                text += link("pFeature", to(self, [](unsigned) { return true; }));
            return text;
        }
        }
    }

    // A structure's node is its entry.
    std::string node(unsigned self) {
        const std::string named = " Name='" + name(self) + "'>";
        const std::string kind = kNames[kinds_[self]];
        if (kinds_[self] != kStructReg)
            return "<" + kind + named + contents(self) + "</" + kind + ">";
        const bool little = input_.oneIn(2);
        const unsigned bytes = length({4, 1, 2, 8});
        std::string text = "<StructReg Comment='s'>" + registers(self, bytes) + endianess(little);
        text += "<StructEntry" + named + common(self);
        if (input_.oneIn(4))
            text += element("AccessMode", mode());
        return all({text, field(little, bytes), sign(), "</StructEntry></StructReg>"});
    }

    Input &input_;
    std::vector<unsigned> kinds_;
};

// As they are written; what is written otherwise is not found.
std::vector<std::string> namesIn(const std::string &document) {
    std::vector<std::string> names;
    static const std::string kAttribute = " Name=";
    for (size_t at = document.find(kAttribute);
         at != std::string::npos && names.size() < kMostNodesAsked;
         at = document.find(kAttribute, at)) {
        at += kAttribute.size();
        const size_t end =
            at < document.size() ? document.find(document[at], at + 1) : std::string::npos;
        if (end != std::string::npos)
            names.push_back(document.substr(at + 1, end - at - 1));
    }
    return names;
}

// Asks for all that a node tells. Nothing is learnt of one that is not readable: as long as nothing
// was written, what was kept is what the camera has, and its mode stays what it is.
class Reader {
public:
    Reader(INode &node, bool isChanged) : node_(node), mayBeRead_(isChanged) {}

    void ask() {
        MUST(*node_.GetName().c_str(), "a node has a name");
        node_.GetName(true);
        const bool isKnown = went([this] { mode_ = node_.GetAccessMode(); });
        MUST(mode_ >= NI && mode_ <= RW, "access mode %d is one", mode_);
        mayBeRead_ = mayBeRead_ || !isKnown || mode_ == RO || mode_ == RW;
        if (auto *value = dynamic_cast<IValue *>(&node_))
            read([value](bool verify, bool anew) { value->ToString(verify, anew); });
        if (auto *integer = dynamic_cast<IInteger *>(&node_))
            askNumber(*integer);
        if (auto *number = dynamic_cast<IFloat *>(&node_)) {
            askNumber(*number);
            went([number] { number->HasInc(); });
        }
        if (auto *boolean = dynamic_cast<IBoolean *>(&node_))
            read([boolean](bool verify, bool anew) { boolean->GetValue(verify, anew); });
        if (auto *enumeration = dynamic_cast<IEnumeration *>(&node_))
            askEntries(*enumeration);
    }

private:
    template <class Number>
    void askNumber(Number &number) {
        read([&](bool verify, bool anew) { number.GetValue(verify, anew); });
        went([&] { number.GetMin(); });
        went([&] { number.GetMax(); });
        went([&] { number.GetInc(); });
    }

    void askEntries(IEnumeration &enumeration) {
        read([&](bool verify, bool anew) { enumeration.GetIntValue(verify, anew); });
        read([&](bool verify, bool anew) { enumeration.GetCurrentEntry(verify, anew); });
        StringList_t symbols;
        went([&] { enumeration.GetSymbolics(symbols); });
        for (const gcstring &symbol : symbols) {
            IEnumEntry *const entry = enumeration.GetEntryByName(symbol);
            MUST(entry, "an entry that is listed is there");
            MUST(entry->GetSymbolic() == symbol, "it is the one of that name");
            went([entry] { entry->GetAccessMode(); });
            went([entry] { entry->GetValue(); });
            went([entry] { entry->ToString(); });
        }
        MUST(!enumeration.GetEntryByName("No entry"), "an entry that is not there is null");
    }

    template <class Do>
    void read(Do operation) {
        for (const bool verify : {false, true}) {
            for (const bool anew : {false, true}) {
                const bool well = went([&] { operation(verify, anew); });
                MUST(mayBeRead_ || !well, "%s of mode %d is not read", node_.GetName().c_str(),
                     mode_);
            }
        }
    }

    INode &node_;
    EAccessMode mode_ = RW;
    bool mayBeRead_;
};

// Writes what the input says.
class Writer {
public:
    Writer(INode &node, Input &input) : node_(node), input_(input) {}

    void change() {
        if (auto *integer = dynamic_cast<IInteger *>(&node_))
            changeNumber<int64_t>(*integer);
        if (auto *number = dynamic_cast<IFloat *>(&node_))
            changeNumber<double>(*number);
        if (auto *boolean = dynamic_cast<IBoolean *>(&node_)) {
            const bool on = input_.oneIn(2);
            write([&](bool verify) { boolean->SetValue(on, verify); });
        }
        if (auto *enumeration = dynamic_cast<IEnumeration *>(&node_)) {
            const int64_t number = input_.below(6);
            write([&](bool verify) { enumeration->SetIntValue(number, verify); });
        }
        if (auto *value = dynamic_cast<IValue *>(&node_)) {
            const std::string text =
                input_.oneIn(2) ? kWritten[input_.below(std::size(kWritten))] : input_.text(20);
            write([&](bool verify) { value->FromString(text.c_str(), verify); });
        }
    }

private:
    template <class Value, class Number>
    void changeNumber(Number &number) {
        const auto value =
            input_.oneIn(2) ? static_cast<Value>(input_.byte()) : input_.number<Value>();
        write([&](bool verify) { number.SetValue(value, verify); });
    }

    template <class Do>
    void write(Do operation) {
        for (const bool verify : {true, false}) {
            EAccessMode mode = RW;
            const bool isKnown = went([&] { mode = node_.GetAccessMode(); });
            const bool mayBeWritten = !isKnown || mode == WO || mode == RW;
            const bool well = went([&] { operation(verify); });
            MUST(mayBeWritten || !well, "%s of mode %d is not written", node_.GetName().c_str(),
                 mode);
        }
    }

    INode &node_;
    Input &input_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    const bool isDocument = size != 0 && (data[0] == '<' || data[0] == 0xEF);
    const bool isControlled = isDocument || !input.oneIn(4);
    const std::string document = isDocument
                                     ? std::string(reinterpret_cast<const char *>(data), size)
                                     : Author(input).document();
    Device device(data, size);
    device.mayBeWritten = isControlled;
    std::unique_ptr<genapi::NodeMap> map;
    went([&] {
        map = std::make_unique<genapi::NodeMap>(
            document, device, isControlled ? genapi::Use::Control : genapi::Use::Monitor);
    });
    if (!map)
        return 0;

    std::vector<INode *> nodes;
    for (const std::string &name : namesIn(document)) {
        if (INode *const node = map->GetNode(name.c_str()))
            nodes.push_back(node);
    }
    const auto start = std::chrono::steady_clock::now();
    const auto isTime = [start] { return std::chrono::steady_clock::now() - start < kLongestUse; };
    for (size_t i = 0; i < nodes.size() && isTime(); ++i)
        Reader(*nodes[i], false).ask();
    for (size_t i = 0; i < nodes.size() && isTime(); ++i)
        Writer(*nodes[i], input).change();
    for (size_t i = 0; i < nodes.size() && isTime(); ++i)
        Reader(*nodes[i], true).ask();
    return 0;
}
