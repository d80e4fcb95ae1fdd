// A camera's description and its memory, and everything that may be asked of the features. What
// begins as a document is one; other bytes say how to make one up, that is in order mostly.
//
// What the camera says is the camera's affair. The node map must refuse it, or answer within its
// bounds: GenICam's exceptions come out and what the port throws, nothing else. What cannot be
// read is not read, what cannot be written is not written.

#include "input.h"

#include <algorithm>
#include <ctime>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "genapi/bounds.h"
#include "genapi/nodemap.h"

namespace {

using namespace GenApi_3_0;

// Of the processor's time, for one operation and for all: what is left is not asked.
constexpr std::clock_t kLongestOperation = 5 * CLOCKS_PER_SEC;
constexpr std::clock_t kLongestUse = 2 * CLOCKS_PER_SEC;
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
    const auto start = std::clock();
    bool well = false;
    try {
        operation();
        well = true;
    } catch (const GenICam_3_0::GenericException &problem) {
        MUST(*problem.GetDescription(), "an exception says what went wrong");
    } catch (const Silence &) {
    }
    MUST(std::clock() - start < kLongestOperation, "an operation ends in time");
    return well;
}

const auto kWritten = split("|0|1|-1|12|0xFF|9223372036854775807|1e400|true|inf|nan|2.5|Entry0|"
                            "192.168.0.1|00:11:22:33:44:55|abcdef|  7 |15ab|A|Off|0x00ff01|"
                            "a text that is longer than most registers of texts",
                            '|');

// What a document consists of. A rule has the texts of which one is taken, and in these
//   {rule}              what a rule gives
//   {8?rule} {8*rule}   that once in eight times; less than eight times
//   {Tag@set}           an element, or without a tag the name, of a node of the set that fits
//   {=Tag}              an element with a number, or pTag with a node that has one
//   {length 4 8}        a length, one of these mostly
const std::map<std::string, std::vector<std::string>> kRules = {
    // Kinds of nodes.
    {"Integer",
     {"{common}{4?pInvalidator@any}{value}{bounds}{4?shown}{4?pSelected@any}",
      "{common}{pValueCopy@number}{pValue@number}{bounds}{4?shown}{4?pSelected@any}"}},
    {"IntReg",
     {"{place}{length 4 4 1 2 3 8}{register}{2?sign}{endianess}{4?shown}{4?pSelected@any}"}},
    {"MaskedIntReg", {"{place}{length 4 4 1 2 8}{register}{field}{2?sign}{endianess}{4?shown}"}},
    {"Boolean", {"{common}{plain}{3?on}"}},
    {"Command", {"{common}{plain}{=CommandValue}"}},
    {"Float", {"{common}{4?pInvalidator@any}{value}{bounds}{precision}"}},
    {"FloatReg", {"{place}{length 4 8}{register}{endianess}{precision}"}},
    {"Enumeration", {"{common}{entries}{plain}{4?pSelected@any}"}},
    {"String", {"{common}<Value>a text</Value>", "{common}{pValue@text}"}},
    {"StringReg", {"{place}{length 4 16 64}{register}"}},
    {"Register", {"{place}{length 4 16 64}{register}"}},
    {"Converter", {"{conversion}{4?shown}{precision}{2?slope}{4?linear}"}},
    {"IntConverter", {"{conversion}{4?shown}{2?slope}"}},
    {"SwissKnife", {"{common}{variables}<Formula>{formula}</Formula>{precision}"}},
    {"IntSwissKnife", {"{common}{variables}<Formula>{formula}</Formula>{4?shown}"}},
    {"Category", {"{common}{6*pFeature@any}"}},
    {"StructReg",
     {"{address}{length 4 1 2 8}{register}{endianess}<StructEntry Name='{self}'>"
      "{common}{4?entryMode}{field}{2?sign}</StructEntry>"}},
    // What they have.
    {"common",
     {"{8?pIsImplemented@condition}{8?pIsAvailable@condition}{8?pIsLocked@condition}"
      "{12?imposed}"}},
    {"imposed", {"<ImposedAccessMode>{mode}</ImposedAccessMode>"}},
    {"entryMode", {"<AccessMode>{mode}</AccessMode>"}},
    {"value",
     {"<Value>{constant}</Value>", "{pValue@number}", "{pValue@number}",
      "{pIndex@number}{4*indexed}{=ValueDefault}"}},
    {"indexed",
     {"<ValueIndexed Index='{bit}'>{constant}</ValueIndexed>",
      "{pValueIndexed Index='{bit}'@number}"}},
    {"plain", {"<Value>{bit}</Value>", "{pValue@number}", "{pValue@number}", "{pValue@number}"}},
    {"bit", split("0 1")},
    {"on", {"<OnValue>{number}</OnValue>"}},
    {"bounds", {"{3?=Min}{3?=Max}{3?=Inc}"}},
    {"shown", {"<Representation>{representation}</Representation>"}},
    {"representation",
     split("Linear Logarithmic Boolean PureNumber HexNumber IPV4Address MACAddress")},
    {"precision", {"{4?notation}{4?digits}"}},
    {"notation",
     {"<DisplayNotation>Automatic</DisplayNotation>", "<DisplayNotation>Fixed</DisplayNotation>",
      "<DisplayNotation>Scientific</DisplayNotation>"}},
    {"digits", {"<DisplayPrecision>{number}</DisplayPrecision>"}},
    {"place", {"{common}{address}"}},
    {"address",
     {"<Address>{offset}</Address>", "<Address>{offset}</Address>",
      "<Address>{offset}</Address>{4*part}"}},
    {"part",
     {"<Address>{number}</Address>", "{pAddress@number}", "{pIndex Offset='{number}'@number}",
      "{pIndex pOffset='{@number}'@number}",
      "<IntSwissKnife Name='A'>{variables}<Formula>{formula}</Formula></IntSwissKnife>"}},
    {"register",
     {"<AccessMode>{mode}</AccessMode><pPort>Device</pPort>{2?cachable}"
      "{4?pInvalidator@any}"}},
    {"mode", split("RW RW RW RW RW RW RO WO")},
    {"cachable",
     {"<Cachable>NoCache</Cachable>", "<Cachable>WriteThrough</Cachable>",
      "<Cachable>WriteAround</Cachable>"}},
    {"sign", {"<Sign>Signed</Sign>", "<Sign>Unsigned</Sign>"}},
    {"entry",
     {"{4?pIsImplemented@condition}{4?pIsAvailable@condition}<Value>{choice}</Value>"
      "{4?symbolic}"}},
    {"choice", split("0 1 2 3 4 {number}")},
    {"symbolic", {"<Symbolic>Symbol0</Symbolic>", "<Symbolic>Symbol1</Symbolic>"}},
    {"conversion",
     {"{common}{variables}<FormulaTo>{to}</FormulaTo><FormulaFrom>{from}"
      "</FormulaFrom>{pValue@number}"}},
    {"to", {"FROM / 2", "{formula}"}},
    {"from", {"TO * 2", "{formula}"}},
    {"slope", {"<Slope>{sloping}</Slope>"}},
    {"sloping", split("Increasing Decreasing Varying Automatic")},
    {"linear", {"<IsLinear>Yes</IsLinear>"}},
    // Formulas.
    {"variables",
     {"{pVariable Name='V0{suffix}'@number}{pVariable Name='V1{suffix}'@number}"
      "{pVariable Name='V2{suffix}'@number}{8?named}{8?expressed}"}},
    {"suffix", split("||||.Value|.Min|.Max|.Inc|.Entry.Entry0|.Else", '|')},
    {"named", {"<Constant Name='C'>{number}</Constant>"}},
    {"expressed", {"<Expression Name='X'>{formula}</Expression>"}},
    {"formula",
     {"{expression}", "{expression}", "{expression}", "{expression}", "{expression}", "{24*token}",
      "{deep}"}},
    {"expression",
     {"{operand}", "({expression})", "{function}({expression})", "(-{expression})",
      "({expression}) ? {operand} : ({expression})", "{expression} {operator} {operand}",
      "{expression} {operator} {operand}"}},
    {"operand", split("V0 V1 V2 C X TO FROM 1 2 {number} {number} {number} {number}")},
    {"operator", split("+ - * / % ** &amp; | ^ &lt;&lt; >> = &lt;> &lt; > &lt;= >= &amp;&amp; ||")},
    {"function",
     split("SGN NEG SIN COS TAN ASIN ACOS ATAN EXP LN LG SQRT ABS TRUNC FLOOR CEIL ROUND")},
    {"token", split("( ) ? : , . ~ - ! == PI e V0 V1 1e 0x 5. \t \xC3\xA9 V0.Min {operator} "
                    "{operator} {operator} {operator}")},
    {"number", split("0 1 -1 2 7 8 16 255 256 0xFFFF 65537 2147483647 -2147483648 0xFFFFFFFF "
                     "4294967296 9223372036854775807 -9223372036854775808 0x7FFFFFFFFFFFFFFF "
                     "0xFFFFFFFFFFFFFFFF 99999999999999999999")},
    {"float", split("0.0 1.5 -2.25 1e-300 1e308 INF -INF NaN 1.7976931348623157e308 9.3e18")}};

const auto kKinds = split("Integer IntReg MaskedIntReg StructReg Boolean Command Float FloatReg "
                          "Enumeration String StringReg Register Converter IntConverter SwissKnife "
                          "IntSwissKnife Category");

// Makes a document up by the rules, as the input says.
class Author {
public:
    explicit Author(Input &input) : input_(input) {}

    std::string document() {
        const bool backwards = input_.oneIn(2);
        const unsigned depth = input_.oneIn(8) ? input_.byte() : input_.below(3);
        for (unsigned left = 1 + input_.below(40); left > 0; --left)
            kinds_.push_back(input_.oneIn(3) ? "IntReg" : input_.oneOf(kKinds));
        // There always is one to refer to.
        std::string nodes = "<Integer Name='N0'><Value>1</Value></Integer>"
                            "<String Name='N1'><Value>a text</Value></String>";
        for (self_ = 2; self_ < kinds_.size(); ++self_) {
            const std::string &kind = kinds_[self_];
            isLittle_ = input_.oneIn(2);
            const std::string node = "<" + kind + (kind == "StructReg" ? " Comment='" : " Name='") +
                                     name(self_) + "'>" + directive(kind) + "</" + kind + ">";
            nodes = backwards ? node + nodes : nodes + node;
        }
        std::string text =
            "<RegisterDescription ModelName='M' VendorName='V' StandardNameSpace='None' "
            "SchemaMajorVersion='1' SchemaMinorVersion='1' SchemaSubMinorVersion='0' "
            "MajorVersion='1' MinorVersion='0' SubMinorVersion='0' ProductGuid='P' VersionGuid='V' "
            "xmlns='http://www.genicam.org/GenApi/Version_1_1'>";
        for (unsigned i = 0; i < depth; ++i) {
            text += "<Group Comment='g'>";
            nodes += "</Group>";
        }
        return text + nodes + "<Port Name='Device'/></RegisterDescription>";
    }

private:
    static std::string name(size_t number) { return "N" + std::to_string(number); }
    static std::string element(const std::string &tag, const std::string &text) {
        return "<" + tag + ">" + text + "</" + tag.substr(0, tag.find(' ')) + ">";
    }

    std::string expanded(const std::string &text) {
        std::string all;
        for (size_t at = 0; at < text.size(); ++at) {
            if (text[at] != '{') {
                all += text[at];
                continue;
            }
            const size_t start = at + 1;
            for (int open = 1; open > 0;)
                open += text[++at] == '{' ? 1 : text[at] == '}' ? -1 : 0;
            all += directive(text.substr(start, at - start));
        }
        return all;
    }

    std::string directive(const std::string &what) {
        const size_t digits = what.find_first_not_of("0123456789");
        if (digits > 0) {
            const auto count = static_cast<unsigned>(std::stoul(what));
            std::string all;
            for (unsigned i = what[digits] == '*' ? input_.below(count) : input_.oneIn(count);
                 i > 0; --i)
                all += directive(what.substr(digits + 1));
            return all;
        }
        if (const size_t at = what.rfind('@'); at != std::string::npos) {
            const std::string target = nodeOf(what.substr(at + 1));
            return at == 0 ? target : element(expanded(what.substr(0, at)), target);
        }
        if (what[0] == '=')
            return input_.oneIn(2) ? element(what.substr(1), directive("constant"))
                                   : element("p" + what.substr(1), nodeOf("number"));
        if (what.compare(0, 7, "length ") == 0)
            return length(split(what.substr(7)));
        if (what == "self")
            return name(self_);
        if (what == "constant")
            return directive(kinds_[self_] == "Float" && input_.oneIn(2) ? "float" : "number");
        if (what == "offset")
            return std::to_string(4 * input_.byte());
        if (what == "endianess")
            return element("Endianess", isLittle_ ? "LittleEndian" : "BigEndian");
        if (what == "field")
            return field();
        if (what == "entries")
            return entries();
        if (what == "deep") { // as deep as it goes
            const std::string opened(16 * input_.byte(), '(');
            return opened + "1" + std::string(16 * input_.byte(), ')');
        }
        if (what == "expression" && depth_ == 5)
            return directive("operand");
        const auto &texts = kRules.at(what);
        depth_ += what == "expression" ? 1 : 0;
        const std::string text = expanded(texts.size() == 1 ? texts[0] : input_.oneOf(texts));
        depth_ -= what == "expression" ? 1 : 0;
        return text;
    }

    // Of those before it one that fits; now and then any, itself and the unknown among them.
    std::string nodeOf(const std::string &set) {
        const unsigned choice = input_.byte();
        if (choice >= 0xFC)
            return name(choice % (kinds_.size() + 1));
        std::vector<size_t> fitting;
        for (size_t i = 0; i < self_; ++i)
            if (fits(kinds_[i], set))
                fitting.push_back(i);
        return name(fitting[choice % fitting.size()]);
    }
    bool fits(const std::string &kind, const std::string &set) const {
        using Kinds = std::set<std::string>;
        static const Kinds kFloats{"Float", "FloatReg", "Converter", "SwissKnife"};
        static const Kinds kIntegers{"Integer",      "IntReg",        "MaskedIntReg",
                                     "IntConverter", "IntSwissKnife", "StructReg"};
        if (set == "any")
            return true;
        if (set == "text")
            return kind == "String" || kind == "StringReg";
        if (set == "condition" || kIntegers.count(kind))
            return kIntegers.count(kind) || kind == "Boolean";
        return kFloats.count(kind) || kind == "Enumeration" ||
               (kind == "Boolean" && !kFloats.count(kinds_[self_]));
    }

    std::string length(const std::vector<std::string> &usual) {
        bytes_ = input_.oneIn(24) ? 257u * input_.byte()
                                  : static_cast<unsigned>(std::stoul(input_.oneOf(usual)));
        return input_.oneIn(16) ? element("pLength", nodeOf("number"))
                                : element("Length", std::to_string(bytes_));
    }
    std::string field() {
        const unsigned bits = bytes_ ? 8 * bytes_ : 8;
        const auto [low, high] = std::minmax({input_.byte() % bits, input_.byte() % bits});
        if (low == high)
            return element("Bit", std::to_string(low));
        return element("LSB", std::to_string(isLittle_ ? low : high)) +
               element("MSB", std::to_string(isLittle_ ? high : low));
    }
    std::string entries() {
        std::string all;
        for (unsigned last = input_.below(5), i = 0; i <= last; ++i)
            all += element("EnumEntry Name='Entry" + std::to_string(i) + "'", directive("entry"));
        return all;
    }

    Input &input_;
    std::vector<std::string> kinds_{"Integer", "String"};
    size_t self_ = 0; // the node that is being made up, its byte order and its length
    bool isLittle_ = false;
    unsigned bytes_ = 0;
    unsigned depth_ = 0; // of expressions
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
            const std::string text = input_.oneIn(2) ? input_.oneOf(kWritten) : input_.text(20);
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
    const auto start = std::clock();
    const auto isTime = [start] { return std::clock() - start < kLongestUse; };
    for (size_t i = 0; i < nodes.size() && isTime(); ++i)
        Reader(*nodes[i], false).ask();
    for (size_t i = 0; i < nodes.size() && isTime(); ++i)
        Writer(*nodes[i], input).change();
    for (size_t i = 0; i < nodes.size() && isTime(); ++i)
        Reader(*nodes[i], true).ask();
    return 0;
}
