#include "schema.h"

#include <unordered_map>

#include "text.h"

namespace genapi {
namespace {

#define KXGENAPI_ROW(name, ...) {#name, __VA_ARGS__},
constexpr Row kElementRows[] = {KXGENAPI_ELEMENTS(KXGENAPI_ROW)};
constexpr Row kPropertyRows[] = {KXGENAPI_PROPERTIES(KXGENAPI_ROW)};
#undef KXGENAPI_ROW

template <class Name, size_t Size>
std::optional<Name> find(const Row (&rows)[Size], std::string_view name) {
    static const auto *const known = [&rows] {
        auto *made = new std::unordered_map<std::string_view, Name>;
        for (size_t i = 0; i < Size; ++i)
            made->emplace(rows[i].name, static_cast<Name>(i));
        return made;
    }();
    const auto found = known->find(name);
    return found == known->end() ? std::nullopt : std::optional<Name>(found->second);
}

Schema schemaFrom(std::string_view text) {
    Schema schema;
    schema.isChecked = !text.empty();
    uint8_t slot = 0;
    while (!text.empty()) {
        std::string_view names = cutAt(' ', text);
        if (names.empty())
            continue;
        ++slot;
        const bool isFree = names.front() == '~';
        names.remove_prefix(isFree);
        const char sign = names.back();
        if (sign == '*' || sign == '+' || sign == '!')
            names.remove_suffix(1);
        if (sign == '+' || sign == '!')
            schema.needs.push_back({slot, std::string(names)});
        while (!names.empty()) {
            const Property property = *propertyOf(cutAt('|', names));
            schema.rules[static_cast<size_t>(property)] = {slot, isFree ? uint8_t{0} : slot,
                                                           sign == '*' || sign == '+'};
        }
    }
    return schema;
}

} // namespace

std::optional<Element> elementOf(std::string_view name) {
    return find<Element>(kElementRows, name);
}

std::optional<Property> propertyOf(std::string_view name) {
    return find<Property>(kPropertyRows, name);
}

const Row &rowOf(Element element) {
    return kElementRows[static_cast<size_t>(element)];
}

const Row &rowOf(Property property) {
    return kPropertyRows[static_cast<size_t>(property)];
}

const Schema &schemaOf(Element element) {
    static const auto *const schemas = [] {
        auto *made = new std::vector<Schema>;
        for (const Row &row : kElementRows)
            made->push_back(schemaFrom(row.says));
        return made;
    }();
    return (*schemas)[static_cast<size_t>(element)];
}

} // namespace genapi
