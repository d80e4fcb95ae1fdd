#include "large_description.h"

#include <cstdio>

// Counted over the descriptions of many cameras: a third of all nodes are entries and fields of a
// register each, then follow registers, integers and formulas. A register names two others that
// invalidate it, a fifth of all nodes has a condition to be there, and half of all formulas are
// short. One module holds them in these proportions, on a hundred nodes; the description is a row
// of modules. Within one, "$" stands for its number.

namespace {

constexpr char kHead[] = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription
    xmlns="http://www.genicam.org/GenApi/Version_1_1"
    xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance"
    xsi:schemaLocation="http://www.genicam.org/GenApi/Version_1_1 http://www.genicam.org/GenApi/GenApiSchema_Version_1_1.xsd"
    VendorName="Bench" ModelName="Large" ToolTip="As large as real ones"
    StandardNameSpace="GEV" SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0"
    MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
    ProductGuid="6A7E5C10-2F6D-4D0B-9B3A-1D2C3B4A5F60"
    VersionGuid="6A7E5C10-2F6D-4D0B-9B3A-1D2C3B4A5F61">
)";

using Number = unsigned;

// Where registers lie that nobody else uses.
Number nextAddress = 0x2000;

std::string hexadecimal(Number number) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", number);
    return text;
}

std::string property(const std::string &name, const std::string &text) {
    return "\t\t<" + name + ">" + text + "</" + name + ">\n";
}

std::string node(const std::string &kind, const std::string &name, const std::string &content) {
    return "\t<" + kind + " Name=\"" + name + "\" NameSpace=\"Custom\">\n" + content + "\t</" +
           kind + ">\n";
}

std::string prose(const std::string &name) {
    return property("ToolTip", "Sets the " + name + " of the sensor.") +
           property("Description", "This feature sets the " + name +
                                       " of the sensor; it can be changed while images are "
                                       "taken, and is part of what user sets save.") +
           property("DisplayName", name) + property("Visibility", "Expert");
}

// What registers of all kinds begin with; every fourth lies relative to a base.
std::string place(Number i, const std::string &length = "4", const std::string &mode = "RW") {
    const Number address = nextAddress += 16;
    std::string text = property("pInvalidator", "Mode$Reg") + property("pInvalidator", "Bank$Reg");
    text += property("Address", hexadecimal(address));
    if (i % 4 == 1)
        text += property("pAddress", "Base$");
    text += property("Length", length) + property("AccessMode", mode) + property("pPort", "Device");
    if (i % 9 == 2)
        text += property("Cachable", i % 2 ? "NoCache" : "WriteAround");
    if (i % 40 == 3)
        text += property("PollingTime", "1000");
    return text;
}

constexpr char kBig[] = "\t\t<Endianess>BigEndian</Endianess>\n";
constexpr char kUnsigned[] = "\t\t<Sign>Unsigned</Sign>\n";

std::string intReg(const std::string &name, Number i) {
    return node("IntReg", name, place(i) + kUnsigned + kBig);
}

std::string conditions(Number i) {
    std::string text = property("pIsImplemented", "Present$_" + std::to_string(i % 16));
    if (i % 2)
        text += property("pIsAvailable", "Available$_" + std::to_string(i % 4));
    if (i % 3 == 0)
        text += property("pIsLocked", "TLParamsLocked");
    if (i % 2)
        text += property("ImposedAccessMode", "RW");
    return text;
}

std::string enumeration(Number i) {
    const std::string name = "Mode$_" + std::to_string(i);
    std::string text = prose(name) + conditions(i);
    for (Number entry = 0; entry < 6; ++entry) {
        text += "\t\t<EnumEntry Name=\"Choice" + std::to_string(entry) +
                "\" NameSpace=\"Custom\">\n\t" + property("DisplayName", "Choice") +
                (entry % 2 ? "\t" + property("pIsImplemented",
                                             "Present$_" + std::to_string(4 + i + entry))
                           : "") +
                "\t" + property("Value", std::to_string(entry)) + "\t\t</EnumEntry>\n";
    }
    text +=
        property("pValue", name + "Field") + property("pSelected", "Value$_" + std::to_string(i));
    return node("Enumeration", name, text) +
           node("MaskedIntReg", name + "Field",
                place(i) + property("LSB", "31") + property("MSB", "28") + kUnsigned + kBig);
}

std::string integer(Number i) {
    const std::string name = "Value$_" + std::to_string(i);
    const std::string number = std::to_string(i);
    std::string text =
        prose(name) + (i % 2 ? conditions(i) : "") + property("pValue", name + "Reg");
    if (i % 3 == 0)
        text += property("pMin", "Formula$_" + number);
    if (i % 3 == 1)
        text += property("pMax", "Formula$_" + number) + property("Inc", "4");
    return node("Integer", name, text) + intReg(name + "Reg", i);
}

std::string formula(Number i) {
    std::string text = i % 5 ? "" : property("pIsImplemented", "Present$_0");
    const auto variable = [](const std::string &name, const std::string &target) {
        return "\t\t<pVariable Name=\"" + name + "\">" + target + "</pVariable>\n";
    };
    text += variable("MODE", "Mode$Reg");
    if (i < 5)
        return node("IntSwissKnife", "Formula$_" + std::to_string(i),
                    text + property("Formula",
                                    i % 2 ? "((MODE &gt;&gt; 4) &amp; 0xFF) * 4" : "(MODE=1)?1:0"));
    text += variable("BANK", "Bank$Reg") + variable("LIMIT", "Limit$Reg");
    std::string expression = "(MODE=1) || (MODE=3) || (BANK=7) ? (LIMIT / 2) : LIMIT";
    if (i == 8)
        for (Number entry = 0; entry < 8; ++entry)
            expression = "(MODE=" + std::to_string(entry) + ") ? (BANK + " +
                         std::to_string(entry * 16) + ") : (" + expression + ")";
    if (i == 9)
        for (Number entry = 0; entry < 12; ++entry)
            expression = "(((MODE = " + std::to_string(entry) + ") &amp;&amp; (BANK &gt; 0)) || " +
                         expression + ")";
    return node("IntSwissKnife", "Formula$_" + std::to_string(i),
                text + property("Formula", expression));
}

std::string structure() {
    std::string text = "\t<StructReg Comment=\"Lines$\">\n" + place(0) + kBig;
    for (Number i = 0; i < 4; ++i)
        text += "\t\t<StructEntry Name=\"Line$_" + std::to_string(i) +
                "\" NameSpace=\"Custom\">\n\t" + property("Bit", std::to_string(i)) +
                "\t\t</StructEntry>\n";
    return text + "\t</StructReg>\n";
}

std::string computed() {
    const std::string swissKnife =
        "\t\t<pVariable Name=\"RAW\">Limit$Reg</pVariable>\n" +
        property("Formula", "ROUND(RAW / 1000.0, 2) + (RAW > 4000 ? 0.5 : 0)");
    const std::string converter = property("FormulaTo", "FROM * 100") +
                                  property("FormulaFrom", "TO / 100") +
                                  property("pValue", "Limit$Reg");
    return node("SwissKnife", "Ratio$", prose("Ratio$") + swissKnife) +
           node("Converter", "Rate$",
                prose("Rate$") + converter + property("Slope", "Increasing")) +
           node("IntConverter", "Count$", converter + property("Slope", "Varying")) +
           node("Float", "Exposure$",
                prose("Exposure$") + conditions(1) + property("pValue", "Rate$") +
                    property("Min", "0.5") + property("pMax", "Ratio$") + property("Unit", "us")) +
           node("FloatReg", "Gain$", place(0) + kBig);
}

std::string others(Number number) {
    std::string text =
        node("Boolean", "Enabled$",
             prose("Enabled$") + conditions(3) + property("pValue", "Line$_0")) +
        node("Command", "Start$",
             prose("Start$") + conditions(3) + property("pValue", "Mode$Reg") +
                 property("CommandValue", "1")) +
        node("IntReg", "Table$",
             "\t\t<Address>0x8000</Address>\n\t\t<pIndex Offset=\"4\">Bank$Reg</pIndex>\n" +
                 property("Length", "4") + property("AccessMode", "RW") +
                 property("pPort", "Device") + kUnsigned + kBig);
    if (number % 2)
        text += node("StringReg", "Name$", place(0, "64", "RO"));
    if (number % 5 == 0)
        text += node("Register", "File$", place(0, "512"));
    return text;
}

std::string moduleOf(Number number) {
    std::string text;
    std::string features;
    for (Number i = 0; i < 4; ++i)
        text += enumeration(i);
    for (Number i = 0; i < 10; ++i)
        text += integer(i) + formula(i);
    for (Number i = 0; i < 16; ++i)
        text += node("MaskedIntReg", "Present$_" + std::to_string(i),
                     place(i, "4", "RO") + property("Bit", std::to_string(i)) + kBig);
    for (Number i = 0; i < 6; ++i)
        text += node("MaskedIntReg", "Available$_" + std::to_string(i),
                     place(i, "4", "RO") + property("Bit", std::to_string(16 + i)) + kBig);
    for (Number i = 0; i < 6; ++i)
        text += intReg("Counter$_" + std::to_string(i), i);
    text += structure() + computed() + others(number);
    // What the places of the others depend on.
    for (const char *name : {"Base$", "Mode$Reg", "Bank$Reg", "Limit$Reg"})
        text +=
            node("IntReg", name,
                 property("Address", hexadecimal(nextAddress += 16)) + property("Length", "4") +
                     property("AccessMode", "RW") + property("pPort", "Device") + kUnsigned + kBig);
    for (Number i = 0; i < 10; ++i)
        features += property("pFeature", "Value$_" + std::to_string(i));
    text += node("Category", "Module$", features);
    std::string numbered;
    for (const char c : text)
        numbered += c == '$' ? std::to_string(number) : std::string(1, c);
    return numbered;
}

} // namespace

std::string largeDescription(size_t bytes) {
    std::string text = kHead;
    std::string categories;
    for (Number number = 1; text.size() < bytes; ++number) {
        text += moduleOf(number);
        categories += property("pFeature", "Module" + std::to_string(number));
    }
    text += node("Category", "Root", categories + property("pFeature", "Width"));
    text += node("Integer", "TLParamsLocked", property("Value", "0"));
    text += node("Integer", "Width",
                 property("pIsImplemented", "Present1_15") +
                     property("pIsLocked", "TLParamsLocked") + property("pValue", "WidthReg") +
                     property("Min", "16") + property("pMax", "Formula1_8") + property("Inc", "4"));
    text += node("IntReg", "WidthReg",
                 property("pInvalidator", "Mode1Reg") + property("Address", "0x1000") +
                     property("Length", "4") + property("AccessMode", "RW") +
                     property("pPort", "Device") + kUnsigned + kBig);
    return text + "\t<Port Name=\"Device\" NameSpace=\"Standard\"/>\n</RegisterDescription>\n";
}
