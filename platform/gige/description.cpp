#include "description.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <optional>
#include <set>
#include <vector>

#include "owners.h"

// Aravis evaluates a description leniently: a reference to a node that is not there, a missing
// value and a formula that cannot be computed all give 0, without an error, and a circle of
// references never ends. A caller could not tell such a 0 from the camera's. So a node is looked
// through before its first use, along the properties that Aravis will follow; and since a division
// by zero depends on the moment, a 0 out of a formula with a division is computed once more here,
// by Aravis' own evaluator, which does report errors. A converter's formula for writing is tried
// beforehand: Aravis would write the 0.

namespace gige {
namespace {

bool isOneOf(const char *name, std::initializer_list<const char *> names) {
    return std::any_of(names.begin(), names.end(),
                       [name](const char *other) { return strcmp(name, other) == 0; });
}

const char *elementOf(gpointer node) {
    return arv_dom_node_get_node_name(ARV_DOM_NODE(node));
}

const char *attributeOf(gpointer node, const char *attribute) {
    const char *value = arv_dom_element_get_attribute(ARV_DOM_ELEMENT(node), attribute);
    return value ? value : "";
}

std::vector<ArvGcPropertyNode *> propertiesOf(gpointer node) {
    std::vector<ArvGcPropertyNode *> properties;
    for (ArvDomNode *child = arv_dom_node_get_first_child(ARV_DOM_NODE(node)); child;
         child = arv_dom_node_get_next_sibling(child)) {
        if (ARV_IS_GC_PROPERTY_NODE(child))
            properties.push_back(ARV_GC_PROPERTY_NODE(child));
    }
    return properties;
}

// An address may be computed by a formula that stands inside the register.
std::vector<ArvDomNode *> addressFormulasOf(gpointer node) {
    std::vector<ArvDomNode *> formulas;
    for (ArvDomNode *child = arv_dom_node_get_first_child(ARV_DOM_NODE(node)); child;
         child = arv_dom_node_get_next_sibling(child)) {
        if (isOneOf(elementOf(child), {"IntSwissKnife"}))
            formulas.push_back(child);
    }
    return formulas;
}

std::string textOf(ArvGcPropertyNode *property) {
    std::string text;
    for (ArvDomNode *child = arv_dom_node_get_first_child(ARV_DOM_NODE(property)); child;
         child = arv_dom_node_get_next_sibling(child)) {
        if (ARV_IS_DOM_CHARACTER_DATA(child))
            text += arv_dom_character_data_get_data(ARV_DOM_CHARACTER_DATA(child));
    }
    return text;
}

ArvGcNode *targetOf(ArvGcPropertyNode *property) {
    ArvGcNode *target = arv_gc_property_node_get_linked_node(property);
    return ARV_IS_GC_FEATURE_NODE(target) ? target : nullptr;
}

// Properties whose nodes are read to compute the value.
bool feedsValue(const char *element) {
    return isOneOf(element, {"pValue", "pVariable", "pAddress", "pIndex", "pLength",
                             "pValueIndexed", "pValueDefault"});
}

// Properties whose nodes are read for a bound or for the access mode.
bool feedsBoundsOrAccess(const char *element) {
    return isOneOf(element,
                   {"pMin", "pMax", "pInc", "pIsImplemented", "pIsAvailable", "pIsLocked"});
}

bool isRegister(const char *element) {
    return isOneOf(element, {"IntReg", "MaskedIntReg", "FloatReg", "StringReg", "Register"});
}

bool hasAny(const std::vector<ArvGcPropertyNode *> &properties,
            std::initializer_list<const char *> elements) {
    return std::any_of(properties.begin(), properties.end(), [&](ArvGcPropertyNode *property) {
        return isOneOf(elementOf(property), elements);
    });
}

std::string missing(gpointer node, const char *what) {
    return "<" + std::string(elementOf(node)) + "> '" + attributeOf(node, "Name") + "' has no " +
           what;
}

// What the element cannot do without.
std::string missingProperty(gpointer node, const std::vector<ArvGcPropertyNode *> &properties) {
    const char *element = elementOf(node);
    if (isOneOf(element, {"Integer", "Float", "Boolean", "Enumeration", "String"}) &&
        !hasAny(properties, {"Value", "pValue", "ValueIndexed", "pValueIndexed", "ValueDefault",
                             "pValueDefault"}))
        return missing(node, "<Value> or <pValue>");
    if (isOneOf(element, {"SwissKnife", "IntSwissKnife"}) && !hasAny(properties, {"Formula"}))
        return missing(node, "<Formula>");
    if (isOneOf(element, {"Converter", "IntConverter"})) {
        if (!hasAny(properties, {"pValue"}))
            return missing(node, "<pValue>");
        if (!hasAny(properties, {"FormulaFrom"}))
            return missing(node, "<FormulaFrom>");
    }
    if (isRegister(element)) {
        if (!hasAny(properties, {"Address", "pAddress", "pIndex"}) &&
            addressFormulasOf(node).empty())
            return missing(node, "<Address>");
        if (!hasAny(properties, {"Length", "pLength"}))
            return missing(node, "<Length>");
        if (!hasAny(properties, {"pPort"}))
            return missing(node, "<pPort>");
    }
    return {};
}

// A formula of a node, ready for values of its variables.
class Formula {
public:
    Formula(gpointer node, const char *element) {
        for (ArvGcPropertyNode *property : propertiesOf(node)) {
            const char *name = elementOf(property);
            if (strcmp(name, element) == 0)
                text_ = textOf(property);
            else if (strcmp(name, "Constant") == 0)
                arv_evaluator_set_constant(get(), attributeOf(property, "Name"),
                                           textOf(property).c_str());
            else if (strcmp(name, "Expression") == 0)
                arv_evaluator_set_sub_expression(get(), attributeOf(property, "Name"),
                                                 textOf(property).c_str());
        }
        arv_evaluator_set_expression(get(), text_.c_str());
        integral_ = strncmp(elementOf(node), "Int", 3) == 0;
    }

    bool exists() const { return !text_.empty(); }

    // Only a division makes the result depend on more than the text.
    bool divides() const { return text_.find_first_of("/%") != std::string::npos; }

    void set(const char *variable, double value) {
        if (integral_)
            arv_evaluator_set_int64_variable(get(), variable, static_cast<gint64>(value));
        else
            arv_evaluator_set_double_variable(get(), variable, value);
    }

    // Why it cannot be computed; empty when it can.
    std::string failure(bool divisionByZeroCounts) {
        Error error;
        if (integral_)
            arv_evaluator_evaluate_as_int64(get(), error.out());
        else
            arv_evaluator_evaluate_as_double(get(), error.out());
        if (!error || ((*error).code == kDivisionByZero && !divisionByZeroCounts))
            return {};
        return "formula '" + text_ + "': " + (*error).message;
    }

private:
    static constexpr int kDivisionByZero = 11; // of the evaluator's status codes, which are private

    ArvEvaluator *get() { return evaluator_.get(); }

    ObjectPtr<ArvEvaluator> evaluator_{arv_evaluator_new("0")};
    std::string text_;
    bool integral_ = false;
};

// With every variable 1, what is left to fail is the formula's text and its names.
std::string defectOfFormula(gpointer node, const char *element) {
    Formula formula(node, element);
    if (!formula.exists())
        return {};
    for (ArvGcPropertyNode *property : propertiesOf(node)) {
        if (strcmp(elementOf(property), "pVariable") == 0)
            formula.set(attributeOf(property, "Name"), 1);
    }
    if (isOneOf(element, {"FormulaTo", "FormulaFrom"})) {
        formula.set("FROM", 1);
        formula.set("TO", 1);
    }
    const std::string failure = formula.failure(false);
    return failure.empty() ? failure : std::string(attributeOf(node, "Name")) + ": " + failure;
}

// A number as descriptions write them, decimal or hexadecimal; nothing when the text is none.
std::optional<uint64_t> numberIn(ArvGcPropertyNode *property) {
    const std::string text = textOf(property);
    char *end = nullptr;
    errno = 0;
    const unsigned long long value = strtoull(text.c_str(), &end, 0);
    const bool whole = end != text.c_str() && end[strspn(end, " \t\r\n")] == '\0';
    return whole && errno == 0 ? std::optional<uint64_t>(value) : std::nullopt;
}

// Where a register lies; nothing when its address or length is computed.
std::optional<Register::Place> placeOf(gpointer reg) {
    const auto properties = propertiesOf(reg);
    if (!addressFormulasOf(reg).empty() || hasAny(properties, {"pAddress", "pIndex", "pLength"}))
        return std::nullopt;
    Register::Place place{0, 0};
    for (ArvGcPropertyNode *property : properties) {
        const bool isAddress = isOneOf(elementOf(property), {"Address"});
        if (!isAddress && !isOneOf(elementOf(property), {"Length"}))
            continue;
        const auto number = numberIn(property);
        if (!number)
            return std::nullopt;
        if (isAddress)
            place.address += *number; // an address may come in parts
        else
            place.size = *number;
    }
    return place.size > 0 && place.address <= UINT32_MAX && place.size <= UINT32_MAX - place.address
               ? std::optional<Register::Place>(place)
               : std::nullopt;
}

Register::Caching cachingOf(const std::vector<ArvGcPropertyNode *> &properties) {
    Register::Caching caching = Register::Caching::WriteThrough;
    for (ArvGcPropertyNode *property : properties) {
        if (isOneOf(elementOf(property), {"PollingTime"}))
            return Register::Caching::Never;
        if (!isOneOf(elementOf(property), {"Cachable"}))
            continue;
        const std::string text = textOf(property);
        if (text == "WriteAround")
            caching = Register::Caching::WriteAround;
        else if (text != "WriteThrough")
            return Register::Caching::Never;
    }
    return caching;
}

// What is wrong with the length of a register, where it stands there as a number.
std::string defectOfLength(gpointer node, const std::vector<ArvGcPropertyNode *> &properties) {
    for (ArvGcPropertyNode *property : properties) {
        if (!isOneOf(elementOf(property), {"Length"}) || isOneOf(elementOf(node), {"Register"}))
            continue;
        const auto length = numberIn(property);
        if (!length || *length < 1 || *length > kLongestRegister)
            return "the length of '" + std::string(attributeOf(node, "Name")) + "' is '" +
                   textOf(property) + "', expected 1 to " + std::to_string(kLongestRegister);
    }
    return {};
}

// Nodes that are looked through for what makes one register stale. A description where there are
// more has the register read each time.
constexpr size_t kMostSources = 256;

// The places of the registers that a node's value comes from.
void findPlaces(gpointer node, std::set<gpointer> &seen,
                std::vector<std::optional<Register::Place>> &found) {
    if (seen.size() == kMostSources || !seen.insert(node).second)
        return;
    if (isRegister(elementOf(node)))
        found.push_back(placeOf(node));
    if (isOneOf(elementOf(node), {"StructEntry"}))
        found.push_back(placeOf(arv_dom_node_get_parent_node(ARV_DOM_NODE(node))));
    for (ArvGcPropertyNode *property : propertiesOf(node)) {
        ArvGcNode *target = feedsValue(elementOf(property)) ? targetOf(property) : nullptr;
        if (target)
            findPlaces(target, seen, found);
    }
}

bool isBigEndian(const std::vector<ArvGcPropertyNode *> &properties) {
    return std::any_of(properties.begin(), properties.end(), [](ArvGcPropertyNode *property) {
        return isOneOf(elementOf(property), {"Endianess", "Endianness"}) &&
               textOf(property) == "BigEndian";
    });
}

// An entry of a structure lies where the structure does, and may be cached as that.
Register registerOf(gpointer node) {
    const bool isEntry = isOneOf(elementOf(node), {"StructEntry"});
    gpointer owner = isEntry ? arv_dom_node_get_parent_node(ARV_DOM_NODE(node)) : node;
    Register reg{
        placeOf(owner), cachingOf(propertiesOf(owner)), isBigEndian(propertiesOf(owner)), {}};
    std::vector<gpointer> sources{owner};
    if (isEntry) {
        reg.caching = std::min(reg.caching, cachingOf(propertiesOf(node)));
        sources.push_back(node);
    }
    std::set<gpointer> seen;
    for (gpointer source : sources) {
        for (ArvGcPropertyNode *property : propertiesOf(source)) {
            ArvGcNode *target =
                isOneOf(elementOf(property), {"pInvalidator"}) ? targetOf(property) : nullptr;
            if (target)
                findPlaces(target, seen, reg.invalidators);
        }
    }
    if (seen.size() == kMostSources) {
        reg.caching = Register::Caching::Never;
        reg.invalidators.clear();
    }
    return reg;
}

std::optional<double> currentValue(ArvGcNode *node) {
    Error error;
    double value = 0;
    if (ARV_IS_GC_FLOAT(node))
        value = arv_gc_float_get_value(ARV_GC_FLOAT(node), error.out());
    else if (ARV_IS_GC_INTEGER(node))
        value = static_cast<double>(arv_gc_integer_get_value(ARV_GC_INTEGER(node), error.out()));
    else if (ARV_IS_GC_BOOLEAN(node))
        value = arv_gc_boolean_get_value(ARV_GC_BOOLEAN(node), error.out());
    return error ? std::nullopt : std::optional<double>(value);
}

// The first of those elements on the way from a node to its value; null when there is none.
ArvGcFeatureNode *onTheWay(ArvGcFeatureNode *node, std::initializer_list<const char *> elements) {
    while (node && !isOneOf(elementOf(node), elements))
        node = linkedFeature(node);
    return node;
}

// Sets the variables to what the camera says now; nothing when it does not answer (the caller has
// had that error already).
bool setVariables(Formula &formula, gpointer node) {
    for (ArvGcPropertyNode *property : propertiesOf(node)) {
        if (strcmp(elementOf(property), "pVariable") != 0)
            continue;
        const auto value = currentValue(targetOf(property));
        if (!value)
            return false;
        formula.set(attributeOf(property, "Name"), *value);
    }
    return true;
}

} // namespace

Kind kindOf(ArvGcNode *node) {
    const char *element = elementOf(node);
    if (isOneOf(element, {"Integer", "IntReg", "MaskedIntReg", "StructEntry", "IntSwissKnife",
                          "IntConverter"}))
        return Kind::Integer;
    if (isOneOf(element, {"Float", "FloatReg", "SwissKnife", "Converter"}))
        return Kind::Float;
    if (isOneOf(element, {"Boolean"}))
        return Kind::Boolean;
    if (isOneOf(element, {"Enumeration"}))
        return Kind::Enumeration;
    if (isOneOf(element, {"EnumEntry"}))
        return Kind::EnumEntry;
    if (isOneOf(element, {"String", "StringReg"}))
        return Kind::Text;
    if (isOneOf(element, {"Command"}))
        return Kind::Command;
    if (isOneOf(element, {"Category"}))
        return Kind::Category;
    return Kind::Other;
}

ArvGcFeatureNode *linkedFeature(ArvGcFeatureNode *node) {
    const auto *type = ARV_GC_FEATURE_NODE_GET_CLASS(node);
    return type->get_linked_feature ? type->get_linked_feature(node) : nullptr;
}

// What is wrong with the value of a node; empty for nothing.
std::string Inspector::ofValue(gpointer node) {
    if (sound_.count(node))
        return {};
    if (!underway_.insert(node).second)
        return "the value of '" + std::string(attributeOf(node, "Name")) + "' depends on itself";
    std::string defect = ofParts(node);
    underway_.erase(node);
    if (defect.empty())
        sound_.insert(node);
    return defect;
}

std::string Inspector::ofBoundsAndAccess(gpointer node) {
    for (ArvGcPropertyNode *property : propertiesOf(node)) {
        if (!feedsBoundsOrAccess(elementOf(property)))
            continue;
        if (std::string defect = ofTarget(node, property); !defect.empty())
            return defect;
    }
    return {};
}

std::string Inspector::ofParts(gpointer node) {
    const auto properties = propertiesOf(node);
    if (std::string defect = missingProperty(node, properties); !defect.empty())
        return defect;
    for (const char *element : {"Formula", "FormulaTo", "FormulaFrom"}) {
        if (!hasAny(properties, {element}))
            continue;
        if (std::string defect = defectOfFormula(node, element); !defect.empty())
            return defect;
    }
    for (ArvGcPropertyNode *property : properties) {
        if (!feedsValue(elementOf(property)))
            continue;
        if (std::string defect = ofTarget(node, property); !defect.empty())
            return defect;
    }
    for (ArvDomNode *formula : addressFormulasOf(node)) {
        if (std::string defect = ofValue(formula); !defect.empty())
            return defect;
    }
    if (isRegister(elementOf(node))) {
        if (std::string defect = defectOfLength(node, properties); !defect.empty())
            return defect;
    }
    if (isRegister(elementOf(node)) || isOneOf(elementOf(node), {"StructEntry"}))
        cache_.learn(registerOf(node));
    return {};
}

std::string Inspector::ofTarget(gpointer node, ArvGcPropertyNode *property) {
    ArvGcNode *target = targetOf(property);
    if (!target)
        return "<" + std::string(elementOf(property)) + "> of '" + attributeOf(node, "Name") +
               "' refers to '" + textOf(property) + "', which is no node";
    return ofValue(target);
}

std::string Inspector::defectOf(ArvGcFeatureNode *node) {
    std::string defect = ofValue(node);
    for (; defect.empty() && node; node = linkedFeature(node))
        defect = ofBoundsAndAccess(node);
    return defect;
}

std::string failedReading(ArvGcFeatureNode *node) {
    ArvGcFeatureNode *source = onTheWay(node, {"SwissKnife", "IntSwissKnife"});
    if (!source)
        return {};
    Formula formula(source, "Formula");
    return formula.divides() && setVariables(formula, source) ? formula.failure(true)
                                                              : std::string();
}

std::string failedWriting(ArvGcFeatureNode *node, double value) {
    ArvGcFeatureNode *converter = onTheWay(node, {"Converter", "IntConverter"});
    if (!converter)
        return {};
    Formula formula(converter, "FormulaTo");
    if (!formula.divides())
        return {};
    formula.set("FROM", value);
    return setVariables(formula, converter) ? formula.failure(true) : std::string();
}

bool meansRegisterCommands(ArvGc *description) {
    auto *root = arv_dom_document_get_document_element(ARV_DOM_DOCUMENT(description));
    return ARV_IS_GC_REGISTER_DESCRIPTION_NODE(root) &&
           !arv_gc_register_description_node_check_schema_version(
               ARV_GC_REGISTER_DESCRIPTION_NODE(root), 1, 1, 0);
}

} // namespace gige
