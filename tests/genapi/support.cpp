#include "support.h"

#include <algorithm>
#include <cctype>
#include <regex>
#include <stdexcept>
#include <utility>

void Memory::read(uint64_t address, uint8_t *bytes, size_t size, genapi::ByteOrder) {
    note('r', address, size);
    const std::vector<uint8_t> found = get(address, size);
    std::copy(found.begin(), found.end(), bytes);
}

bool Memory::readTogether(uint64_t address, uint8_t *bytes, size_t size, genapi::ByteOrder order) {
    if (readsTogether)
        read(address, bytes, size, order);
    return readsTogether;
}

bool Memory::readApart(const std::vector<uint64_t> &addresses, uint8_t *bytes,
                       genapi::ByteOrder order) {
    if (!readsApart)
        return false;
    const char what = order == genapi::ByteOrder::Big ? 'a' : 'l';
    std::string all;
    bool isThere = true;
    for (const uint64_t address : addresses) {
        all += (all.empty() ? "" : ",") + std::to_string(address);
        isThere = isThere && missing.count(address) == 0;
        const std::vector<uint8_t> found = get(address, 4);
        bytes = std::copy(found.begin(), found.end(), bytes);
    }
    accesses_ += (accesses_.empty() ? "" : " ") + std::string(1, what) + all;
    if (before)
        before(what, addresses.front());
    return isThere;
}

void Memory::write(uint64_t address, const uint8_t *bytes, size_t size, genapi::ByteOrder) {
    note('w', address, size);
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
    for (auto at = bytes_.lower_bound(address); at != bytes_.end() && at->first - address < size;
         ++at)
        bytes[at->first - address] = at->second;
    return bytes;
}

uint32_t Memory::get32(uint64_t address) const {
    uint32_t value = 0;
    for (const uint8_t byte : get(address, 4))
        value = value << 8 | byte;
    return value;
}

void Memory::note(char what, uint64_t address, size_t size) {
    accesses_ += (accesses_.empty() ? "" : " ") + std::string(1, what) + std::to_string(address) +
                 (size == 4 ? "" : "+" + std::to_string(size));
    if (before)
        before(what, address);
}

std::string Memory::accesses() {
    return std::exchange(accesses_, {});
}

namespace {

std::string escaped(const std::string &text) {
    std::string safe;
    for (const char c : text)
        safe += c == '<' ? "&lt;" : c == '&' ? "&amp;" : std::string(1, c);
    return safe;
}

std::string inside(const std::string &tag, const std::string &content) {
    return "<" + tag + ">" + content + "</" + tag + ">";
}

/** Reads what nodes() is given. */
class Reader {
public:
    explicit Reader(const std::string &text) : text_(text) {}

    std::string nodes() {
        std::string all;
        while (!isAtEnd()) {
            const std::string kind = word(" \n");
            isAtEnd();
            const std::string name = word(" \n");
            all += element(kind, name, elements());
        }
        return all;
    }

private:
    // To what begins another node, or ends a brace: all words in lower case, with a '=' or a '@'.
    std::string elements() {
        std::string all;
        while (!isAtEnd() && text_[at_] != '}') {
            const size_t start = at_;
            const std::string tag = word(" =\n}");
            if (tag[0] == '@')
                all += place(tag.substr(1));
            else if (tag == "unsigned" || tag == "signed")
                all += inside("Sign", tag == "signed" ? "Signed" : "Unsigned");
            else if (tag == "big" || tag == "little")
                all += inside("Endianess", tag == "big" ? "BigEndian" : "LittleEndian");
            else if (at_ < text_.size() && text_[at_] == '=')
                all += assigned(tag);
            else {
                at_ = start;
                break;
            }
        }
        return all;
    }

    std::string assigned(const std::string &tag) {
        const size_t dot = std::min(tag.find('.'), tag.size());
        const std::string name = tag.substr(0, dot);
        std::string attribute;
        if (dot < tag.size()) {
            const std::string value = tag.substr(dot + 1);
            const bool isNumber = value.find_first_not_of("-0123456789") == std::string::npos;
            attribute = (name == "pIndex" ? isNumber ? " Offset=\"" : " pOffset=\""
                         : isNumber       ? " Index=\""
                                          : " Name=\"") +
                        value + "\"";
        }
        const char begins = ++at_ < text_.size() ? text_[at_] : ' ';
        std::string content;
        if (begins == '{') {
            ++at_;
            content = elements();
            ++at_;
        } else if (begins == '\'') {
            ++at_;
            content = escaped(word("'"));
            ++at_;
        } else {
            content = escaped(word(" \n}"));
        }
        if (name == "EnumEntry" && begins != '{')
            content = inside("Value", content);
        return "<" + name + attribute + ">" + content + "</" + name + ">";
    }

    static std::string place(const std::string &text) { // address+length:mode:cachable
        static const std::regex kForm("([^+:]*)(?:[+]([^:]*))?(?::([A-Z]*))?(:?)(.*)");
        std::smatch parts;
        std::regex_match(text, parts, kForm);
        const std::string length = parts[2];
        const bool isNode = !length.empty() && std::isalpha(length[0]);
        const std::string cachable = parts[4].length() == 0 ? "NoCache" : parts[5].str();
        return (parts[1].length() == 0 ? "" : inside("Address", parts[1])) +
               inside(isNode ? "pLength" : "Length", length.empty() ? "4" : length) +
               inside("AccessMode", parts[3].length() == 0 ? "RW" : parts[3].str()) +
               inside("pPort", "Device") + (cachable.empty() ? "" : inside("Cachable", cachable));
    }

    bool isAtEnd() {
        at_ = std::min(text_.find_first_not_of(" \n", at_), text_.size());
        return at_ == text_.size();
    }
    std::string word(const char *ends) {
        const size_t start = at_;
        at_ = std::min(text_.find_first_of(ends, at_), text_.size());
        return text_.substr(start, at_ - start);
    }

    const std::string &text_;
    size_t at_ = 0;
};

} // namespace

std::string nodes(const std::string &text) {
    return Reader(text).nodes();
}

std::string with(std::string pattern, const std::string &text) {
    for (size_t at = 0; (at = pattern.find('$', at)) != std::string::npos; at += text.size())
        pattern.replace(at, 1, text);
    return pattern;
}

std::string describe(const std::string &elements, const std::string &port) {
    return R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Test" VendorName="Test" StandardNameSpace="None" SchemaMajorVersion="1"
  SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
  ProductGuid="11111111-2222-3333-4444-555555555555" VersionGuid="11111111-2222-3333-4444-666666666666"
  xmlns="http://www.genicam.org/GenApi/Version_1_1">)" +
           (elements.find('<') == 0 ? elements : nodes(elements)) + port + "</RegisterDescription>";
}

std::string element(const std::string &kind, const std::string &name, const std::string &content) {
    return "<" + kind + (kind == "StructReg" ? " Comment=\"" : " Name=\"") + name + "\">" +
           content + "</" + kind + ">";
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

std::string Camera::refuses(const std::string &name, bool verify) {
    return raised([&] {
        if (auto *integer = dynamic_cast<GenApi_3_0::IInteger *>(&node(name)))
            integer->GetValue(verify);
        else if (auto *floating = dynamic_cast<GenApi_3_0::IFloat *>(&node(name)))
            floating->GetValue(verify);
        else
            value(name).ToString(verify);
    });
}
