// Bytes as an XML document. What is taken for one has to be one to libxml2 and to pugixml, and the
// same to both: elements, attributes and text, written down in one way.

#include "input.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <map>
#include <memory>
#include <pugixml.hpp>
#include <vector>

#include "gvcp/description.h"
#include "gvcp/error.h"

namespace {

using Attributes = std::map<std::string, std::string>;

// A declaration of a namespace is an attribute to one parser only.
void put(std::string &to, const std::string &element, const Attributes &attributes) {
    to += '<' + element;
    for (const auto &[name, value] : attributes) {
        if (name != "xmlns" && name.compare(0, 6, "xmlns:") != 0)
            to += '|' + name + '=' + value;
    }
    to += '>';
}

const char *textOf(const xmlChar *text) {
    return text ? reinterpret_cast<const char *>(text) : "";
}

template <typename Node>
std::string nameOf(const Node *node) {
    const std::string prefix = node->ns ? textOf(node->ns->prefix) : "";
    return prefix.empty() ? textOf(node->name) : prefix + ':' + textOf(node->name);
}

void putChildren(std::string &to, const xmlNode *parent) {
    for (xmlNode *node = parent->children; node; node = node->next) {
        if (node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE)
            to += textOf(node->content);
        if (node->type != XML_ELEMENT_NODE)
            continue;
        Attributes attributes;
        for (xmlAttr *each = node->properties; each; each = each->next) {
            const std::unique_ptr<xmlChar, void (*)(xmlChar *)> value(
                xmlNodeListGetString(node->doc, each->children, 1),
                [](xmlChar *text) { xmlFree(text); });
            attributes[nameOf(each)] = textOf(value.get());
        }
        put(to, nameOf(node), attributes);
        putChildren(to, node);
        to += "</>";
    }
}

void putChildren(std::string &to, const pugi::xml_node &parent) {
    for (const pugi::xml_node &node : parent) {
        if (node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata)
            to += node.value();
        if (node.type() != pugi::node_element)
            continue;
        Attributes attributes;
        for (const pugi::xml_attribute &each : node.attributes())
            attributes[each.name()] = each.value();
        put(to, node.name(), attributes);
        putChildren(to, node);
        to += "</>";
    }
}

void checkTaken(const std::vector<char> &text) {
    const std::unique_ptr<xmlDoc, void (*)(xmlDoc *)> strict(
        xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                      XML_PARSE_HUGE | XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
        xmlFreeDoc);
    MUST(strict, "libxml2 takes it, too");
    pugi::xml_document lenient;
    const auto result =
        lenient.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_ws_pcdata);
    MUST(result, "pugixml takes it, too: %s", result.description());

    std::string one;
    putChildren(one, reinterpret_cast<const xmlNode *>(strict.get()));
    std::string other;
    putChildren(other, lenient);
    // Windows-1252 is nothing that pugixml knows.
    const bool known = xmlParseCharEncoding(textOf(strict->encoding)) != XML_CHAR_ENCODING_ERROR;
    MUST(!known || one == other, "both read the same:\n%s\n%s", one.c_str(), other.c_str());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const auto *chars = reinterpret_cast<const char *>(data);
    const std::string_view document = gvcp::withoutPadding({chars, size});
    // A block of exactly that size, so that reading beyond is noticed.
    const std::vector<char> text(document.begin(), document.end());
    try {
        gvcp::checkDocument({text.data(), text.size()});
    } catch (const gvcp::Error &error) {
        MUST(error.cause() == gvcp::Cause::Description, "a document is refused as a document");
        MUST(isPrintable(error.what()), "what is wrong can be shown: %s", error.what());
        return 0;
    }
    checkTaken(text);
    return 0;
}
