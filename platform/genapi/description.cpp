#include "description.h"

#include <algorithm>
#include <cinttypes>
#include <cstring>
#include <initializer_list>
#include <pugixml.hpp>
#include <set>

#include "bounds.h"
#include "errors.h"
#include "text.h"

// A description is judged once, as a whole, before anything of it is used: what stands in it, that
// everything named is there and of a kind that fits, and that no reference leads back to where it
// comes from. The nodes may rely on that.

namespace genapi {
namespace {

#define REFUSE(...) KXGENAPI_RAISE(RuntimeException, __VA_ARGS__)
// A declaration \p of, or a property of it that is no number: its name comes first.
#define REFUSE_NODE(of, format, ...) REFUSE("'%.60s': " format, (of).name, __VA_ARGS__)
#define REFUSE_NUMBER(of, format, ...)                                                             \
    KXGENAPI_RAISE(PropertyException, "'%.60s': its %s is '%.60s', expected " format, (of).name,   \
                   __VA_ARGS__)

template <class Value>
bool isOneOf(Value value, std::initializer_list<Value> values) {
    return std::find(values.begin(), values.end(), value) != values.end();
}

constexpr const char *kNameSpaces =
    "http://www.genicam.org/GenApi/Version_1_0|http://www.genicam.org/GenApi/Version_1_1";

bool isChoice(std::string_view text, std::string_view choices) {
    return positionOf(text, choices).has_value();
}

// Whether a reference of an element may lead to one of another.
bool fits(Element from, Property property, Element to) {
    if (property == Property::pPort)
        return to == Element::Port;
    if (rowOf(property).meaning & kAnyKind)
        return true;
    if (from == Element::String)
        return isOneOf(to, {Element::String, Element::StringReg, Element::Register}) ||
               rowOf(to).meaning != kText;
    // Floats that are computed have no use for a switch.
    const bool isCondition = isOneOf(property, {Property::pIsImplemented, Property::pIsAvailable,
                                                Property::pIsLocked, Property::pIndex});
    return rowOf(to).meaning != kText &&
           (to != Element::Boolean || isCondition || rowOf(from).meaning != kFloat ||
            from == Element::FloatReg);
}

} // namespace

Id Description::find(std::string_view name) const {
    const auto found = names_.find(name);
    return found == names_.end() ? kNobody : found->second;
}

Description::Items Description::partsOf(Id node) const {
    const Item *first = items_.data() + declarations_[node].firstItem;
    return {first, first + declarations_[node].parts};
}

Description::Items Description::itemsOf(Id node) const {
    const Item *first = items_.data() + declarations_[node].firstItem;
    return {first, first + declarations_[node].items};
}

const Item *Description::find(Id node, Property property) const {
    for (Id at = node; at != kNobody; at = above(at)) {
        const Item *first = itemsOf(at).first;
        const Item *last = first + declarations_[at].singles;
        const Item *found = std::find_if(
            first, last, [property](const Item &item) { return item.property == property; });
        if (found != last)
            return found;
    }
    return nullptr;
}

const char *Description::textOf(Id node, Property property) const {
    const Item *item = find(node, property);
    return item ? item->text : "";
}

/** Reads a document into a description. */
class Loader {
public:
    explicit Loader(Description &to) : to_(to) {}

    void load() {
        pugi::xml_document document;
        const auto parsed = document.load_buffer_inplace(
            to_.document_.data(), to_.document_.size(),
            pugi::parse_default | pugi::parse_embed_pcdata, pugi::encoding_utf8);
        if (!parsed)
            REFUSE("The description is no whole document: %s at byte %td", parsed.description(),
                   parsed.offset);
        readRoot(document.document_element());
        for (Id node = 0; node < to_.size(); ++node) {
            resolve(node);
            requireWhole(node);
        }
        findCircles([](Property property) { return (rowOf(property).meaning & kNeeds) != 0; });
        findCircles([](Property property) { return property == Property::pSelected; });
    }

private:
    void readRoot(pugi::xml_node root) {
        if (strcmp(root.name(), "RegisterDescription") != 0)
            REFUSE("The document is no GenICam description: its element is <%.60s>, "
                   "expected <RegisterDescription>",
                   root.name());
        constexpr const char *required[] = {
            "ModelName",          "VendorName",         "StandardNameSpace",
            "SchemaMajorVersion", "SchemaMinorVersion", "SchemaSubMinorVersion",
            "MajorVersion",       "MinorVersion",       "SubMinorVersion",
            "ProductGuid",        "VersionGuid"};
        for (const char *name : required) {
            if (!root.attribute(name))
                REFUSE("<RegisterDescription> has no %s", name);
        }
        for (const pugi::xml_attribute attribute : root.attributes()) {
            const std::string_view name = attribute.name();
            if (name == "xmlns" && !isChoice(attribute.value(), kNameSpaces))
                REFUSE("<RegisterDescription> is of the name space %.60s, expected one of %s",
                       attribute.value(), kNameSpaces);
            // With a prefix it is another schema's.
            if (name != "xmlns" && name != "ToolTip" && name.find(':') == std::string_view::npos &&
                std::find(std::begin(required), std::end(required), name) == std::end(required))
                REFUSE("<RegisterDescription> has an unknown attribute %.60s", attribute.name());
        }
        to_.schema_ = {numberOf(root.attribute("SchemaMajorVersion")),
                       numberOf(root.attribute("SchemaMinorVersion"))};
        readNodes(root);
    }

    static int numberOf(pugi::xml_attribute attribute) {
        const auto number = integerOfDescription(attribute.value());
        if (!number || *number < 0 || *number > INT16_MAX)
            KXGENAPI_RAISE(PropertyException,
                           "<RegisterDescription> has %s '%.60s', expected a small number",
                           attribute.name(), attribute.value());
        return static_cast<int>(*number);
    }

    // Groups may stand in groups, as deep as the document likes.
    void readNodes(pugi::xml_node root) {
        std::vector<pugi::xml_node> groups{root};
        while (!groups.empty()) {
            const pugi::xml_node group = groups.back();
            groups.pop_back();
            for (const pugi::xml_node child : group.children()) {
                if (strcmp(child.name(), "Group") == 0)
                    groups.push_back(child);
                else if (child.type() == pugi::node_element &&
                         strcmp(child.name(), "Extension") != 0)
                    declareNamed(child);
            }
        }
    }

    static bool isText(pugi::xml_node xml) {
        return xml.type() == pugi::node_pcdata || xml.type() == pugi::node_cdata;
    }

    void declareNamed(pugi::xml_node xml) {
        const auto element = elementOf(xml.name());
        if (!element || isOneOf(*element, {Element::StructEntry, Element::EnumEntry}))
            REFUSE("There is no kind of node <%.60s>", xml.name());
        const Id node = declare(xml, *element, kNobody);
        if (*element != Element::StructReg)
            giveName(node);
    }

    void giveName(Id node) {
        const char *name = to_.declarations_[node].name;
        if (!to_.names_.emplace(name, node).second)
            REFUSE("'%.60s': there are two nodes of that name", name);
    }

    // Entries' names go to logs as they are: with a '?' for what would act there.
    const char *printable(const char *text) {
        const auto acts = [](char c) { return c < ' ' || c > '~'; };
        std::string clean = text;
        std::replace_if(clean.begin(), clean.end(), acts, '?');
        return clean == text ? text : to_.texts_.emplace_back(std::move(clean)).c_str();
    }

    // Declares a node, and before it those inside it. What is inside those is properties only.
    Id declare(pugi::xml_node xml, Element element, Id owner) {
        const bool isNamed = element != Element::StructReg;
        const char *nameSpace = xml.attribute("NameSpace").as_string("Custom");
        const char *name = isNamed ? xml.attribute("Name").value() : "StructReg";
        const Declaration declaration{element == Element::EnumEntry ? printable(name) : name, owner,
                                      element, strcmp(nameSpace, "Standard") == 0};
        if (!isChoice(nameSpace, "Standard|Custom"))
            REFUSE_NODE(declaration, "its NameSpace is '%.60s', expected Standard or Custom",
                        nameSpace);
        // The name of a formula inside a register is nobody's business.
        if (!*declaration.name && (element != Element::IntSwissKnife || owner == kNobody))
            REFUSE("A <%s> has no Name", rowOf(element).name);
        const auto node = static_cast<Id>(to_.declarations_.size());
        to_.declarations_.push_back(declaration);

        const Schema &schema = schemaOf(element);
        if (!schema.isChecked)
            return node;
        std::vector<Id> inside;
        std::set<std::string_view> entries;
        for (const pugi::xml_node child : xml.children()) {
            const auto nested = nestedIn(child);
            // Only where the schema has it: so never more than one within the other.
            if (!nested || schema[*propertyOf(child.name())].slot == 0)
                continue;
            inside.push_back(declare(child, *nested, node));
            const char *entry = to_.declarations_[inside.back()].name;
            if (*nested == Element::EnumEntry && !entries.insert(entry).second)
                REFUSE_NODE(declaration, "it has two entries '%.60s'", entry);
        }
        const auto first = static_cast<uint32_t>(to_.items_.size());
        to_.declarations_[node].firstItem = first;
        readItems(xml, declaration, schema, inside);
        // Those of which there may be many come last, where find() need not look.
        const auto begin = to_.items_.begin() + first;
        const auto singles = std::stable_partition(begin, to_.items_.end(), [&](const Item &item) {
            // Copies are written in turn with the pValue.
            return !schema[item.property].several || item.property == Property::pValueCopy;
        });
        const auto parts = std::stable_partition(singles, to_.items_.end(), [](const Item &item) {
            return isOneOf(item.property, {Property::Address, Property::Offset}) ||
                   (rowOf(item.property).meaning & kPart);
        });
        if (schema[Property::Address].slot != 0 && parts - singles > ptrdiff_t{kMostAddressParts})
            REFUSE_NODE(declaration, "its address has more than %zu parts", kMostAddressParts);
        to_.declarations_[node].singles = static_cast<uint32_t>(singles - begin);
        to_.declarations_[node].parts = static_cast<uint32_t>(parts - begin);
        to_.declarations_[node].items = static_cast<uint32_t>(to_.items_.size()) - first;
        return node;
    }

    static std::optional<Element> nestedIn(pugi::xml_node child) {
        const std::string_view name = child.name();
        const bool isNested =
            name == "EnumEntry" || name == "StructEntry" || name == "IntSwissKnife";
        return isNested ? elementOf(name) : std::nullopt;
    }

    void readItems(pugi::xml_node xml, const Declaration &of, const Schema &schema,
                   const std::vector<Id> &inside) {
        uint64_t slots = 0;
        uint8_t rank = 0;
        auto nested = inside.begin();
        for (const pugi::xml_node child : xml.children()) {
            if (child.type() != pugi::node_element)
                continue;
            const auto property = propertyOf(child.name());
            const Rule rule = property ? schema[*property] : Rule{};
            if (rule.slot == 0 || *property == Property::Offset || *property == Property::pOffset)
                REFUSE_NODE(of, "a <%s> has no <%.60s>", rowOf(of.element).name, child.name());
            if (rule.rank != 0 && rule.rank < rank)
                REFUSE_NODE(of, "its <%s> stands too late", child.name());
            const uint64_t slot = uint64_t{1} << rule.slot;
            if ((slots & slot) && !rule.several)
                REFUSE_NODE(of, "its <%s> is one too many", child.name());
            slots |= slot;
            rank = std::max(rank, rule.rank);
            if (*property == Property::StructEntry)
                giveName(*nested++);
            else if (nestedIn(child))
                to_.items_.push_back({"", nullptr, *nested++, *property});
            else if (*property != Property::Extension)
                readItem(child, of, *property);
        }
        for (const Schema::Need &need : schema.needs) {
            if (!(slots & uint64_t{1} << need.slot))
                REFUSE_NODE(of, "a <%s> needs a <%s>", rowOf(of.element).name, need.names.c_str());
        }
    }

    void readItem(pugi::xml_node xml, const Declaration &of, Property property) {
        const char *text = textIn(xml, of);
        Item item{property == Property::Symbolic ? printable(text) : text, nullptr, kNobody,
                  property};
        check(item, of);
        if (isOneOf(property, {Property::pVariable, Property::Constant, Property::Expression})) {
            item.attribute = xml.attribute("Name").value();
            if (!*item.attribute)
                REFUSE_NODE(of, "its <%s> has no Name", xml.name());
        } else if (isOneOf(property, {Property::ValueIndexed, Property::pValueIndexed})) {
            item.attribute = xml.attribute("Index").value();
            if (!integerOfDescription(item.attribute))
                REFUSE_NUMBER(of, "a whole number", "Index", item.attribute);
        }
        to_.items_.push_back(item);
        if (property != Property::pIndex)
            return;
        if (xml.attribute("Offset") && xml.attribute("pOffset"))
            REFUSE("'%.60s': its <pIndex> has an Offset and a pOffset", of.name);
        for (const Property each : {Property::Offset, Property::pOffset}) {
            if (const auto attribute = xml.attribute(rowOf(each).name)) {
                to_.items_.push_back({attribute.value(), nullptr, kNobody, each});
                check(to_.items_.back(), of);
            }
        }
    }

    // Comments may part a text; the pieces are one.
    const char *textIn(pugi::xml_node xml, const Declaration &of) {
        const char *text = xml.value();
        if (!xml.first_child())
            return text;
        std::string joined = text;
        bool isJoined = false;
        for (const pugi::xml_node child : xml.children()) {
            if (child.type() == pugi::node_element)
                REFUSE_NODE(of, "its <%s> has a <%.60s> in it", xml.name(), child.name());
            if (!isText(child))
                continue;
            isJoined = !joined.empty();
            joined += child.value();
            text = child.value();
        }
        return isJoined ? to_.texts_.emplace_back(std::move(joined)).c_str() : text;
    }

    static void check(const Item &item, const Declaration &of) {
        const bool isValue = item.property == Property::Value;
        unsigned content = rowOf(item.property).meaning & kContent;
        if (content == kNumber)
            content = rowOf(of.element).meaning;
        if (isValue && isOneOf(of.element, {Element::EnumEntry, Element::Command}))
            content = kInteger;
        const char *choices = isValue && of.element == Element::Boolean ? "true|false|1|0"
                                                                        : rowOf(item.property).says;
        if (content != kText && strnlen(item.text, kLongestNumber + 1) > kLongestNumber)
            REFUSE_NUMBER(of, "a shorter number", rowOf(item.property).name, item.text);
        if (choices && !isChoice(item.text, choices))
            REFUSE_NODE(of, "its %s is '%.60s', expected one of %s", rowOf(item.property).name,
                        item.text, choices);
        if (content == kInteger && !choices && !integerOfDescription(item.text))
            REFUSE_NUMBER(of, "a whole number", rowOf(item.property).name, item.text);
        if (content == kFloat && !floatOfDescription(item.text))
            REFUSE_NUMBER(of, "a number", rowOf(item.property).name, item.text);
    }

    void resolve(Id node) {
        const Declaration &of = to_[node];
        for (uint32_t i = of.firstItem; i < of.firstItem + of.items; ++i) {
            Item &item = to_.items_[i];
            if (!(rowOf(item.property).meaning & kRefers))
                continue;
            item.node = to_.find(item.text);
            if (item.node == kNobody)
                REFUSE_NODE(of, "its %s names '%.60s', which is not there",
                            rowOf(item.property).name, item.text);
            const Element to = to_[item.node].element;
            if (!fits(of.element, item.property, to))
                REFUSE_NODE(of, "its %s names '%.60s', which is a %s and does not fit",
                            rowOf(item.property).name, item.text, rowOf(to).name);
        }
    }

    // What hangs together beyond the order of elements.
    void requireWhole(Id node) const {
        const Declaration &of = to_[node];
        const Schema &schema = schemaOf(of.element);
        const auto has = [&](auto... property) -> bool {
            return (to_.find(node, property) || ...);
        };
        const auto hasSeveral = [&](std::initializer_list<Property> properties) {
            const auto items = to_.itemsOf(node);
            return std::any_of(items.begin(), items.end(), [&](const Item &item) {
                return isOneOf(item.property, properties);
            });
        };
        if (schema[Property::ValueIndexed].slot != 0) {
            const bool hasIndex = has(Property::pIndex);
            if (hasIndex != has(Property::ValueDefault, Property::pValueDefault) ||
                (!hasIndex && hasSeveral({Property::ValueIndexed, Property::pValueIndexed})))
                REFUSE("'%.60s': a <pIndex> goes with a <ValueDefault|pValueDefault>", of.name);
            if (hasSeveral({Property::pValueCopy}) && !has(Property::pValue))
                REFUSE("'%.60s': a <pValueCopy> goes with a <pValue>", of.name);
        }
        if (schema[Property::Bit].slot == 0)
            return;
        const bool isBit = has(Property::Bit);
        if (isBit == has(Property::MSB))
            REFUSE("'%.60s': a field has a <Bit>, or an <LSB> and an <MSB>", of.name);
        const auto number = [&](Property property) {
            return *integerOfDescription(to_.textOf(node, property));
        };
        const int64_t lsb = number(isBit ? Property::Bit : Property::LSB);
        const int64_t msb = number(isBit ? Property::Bit : Property::MSB);
        const bool isBig = strcmp(to_.textOf(node, Property::Endianess), "BigEndian") == 0;
        const int64_t length = has(Property::Length) ? number(Property::Length) : 8;
        if (lsb < 0 || msb < 0 || (isBig ? lsb < msb : lsb > msb) ||
            std::max(lsb, msb) / 8 >= length)
            REFUSE_NODE(of,
                        "its bits %" PRId64 " to %" PRId64 " are not in its %" PRId64
                        " bytes, or the wrong way round",
                        lsb, msb, length);
    }

    /** A node on the way from reference to reference, and where from there it is still to go. */
    struct Step {
        Id node;
        std::vector<Id> next;
    };

    // A depth-first walk on a stack of its own: whoever is met while still underway is on a circle.
    template <class Counts>
    void findCircles(Counts counts) const {
        enum class State : uint8_t { New, Underway, Done };
        std::vector<State> states(to_.size(), State::New);
        std::vector<Step> way;
        const auto enter = [&](Id node) {
            states[node] = State::Underway;
            way.push_back({node, {}});
            for (const Item &item : to_.itemsOf(node)) {
                if (counts(item.property))
                    way.back().next.push_back(item.node);
            }
            if (to_.above(node) != kNobody)
                way.back().next.push_back(to_.above(node));
        };
        for (Id start = 0; start < to_.size(); ++start) {
            if (states[start] != State::New || to_[start].element == Element::EnumEntry)
                continue;
            enter(start);
            while (!way.empty()) {
                auto &[node, others] = way.back();
                if (others.empty()) {
                    states[node] = State::Done;
                    way.pop_back();
                    continue;
                }
                const Id next = others.back();
                others.pop_back();
                if (states[next] == State::Underway)
                    refuseCircle(next, way);
                if (states[next] == State::New)
                    enter(next);
            }
        }
    }

    [[noreturn]] void refuseCircle(Id node, const std::vector<Step> &way) const {
        std::string names;
        auto step = std::find_if(way.begin(), way.end(),
                                 [node](const auto &other) { return other.node == node; });
        for (int shown = 0; step != way.end() && shown < 6; ++step, ++shown)
            names += std::string(to_[step->node].name).substr(0, 60) + " > ";
        if (step != way.end())
            names += "... > ";
        REFUSE_NODE(to_[node], "its references lead back to itself (%s%.60s)", names.c_str(),
                    to_[node].name);
    }

    Description &to_;
};

Description::Description(std::string document) : document_(std::move(document)) {
    Loader(*this).load();
    declarations_.shrink_to_fit();
    items_.shrink_to_fit();
}

} // namespace genapi
