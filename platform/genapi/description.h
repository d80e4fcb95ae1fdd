/** A description, checked as a whole, its names resolved; its nodes are made from it as they are used. */
#ifndef KXINFO_GENAPI_DESCRIPTION_H
#define KXINFO_GENAPI_DESCRIPTION_H

#include <deque>
#include <map>

#include "schema.h"

namespace genapi {

/** A declared node's number. */
using Id = uint32_t;
constexpr Id kNobody = UINT32_MAX;

/** One property of a node. Texts live as long as the description. */
struct Item {
    const char *text;
    const char *attribute; /**< its Name, or its Index; null: none */
    Id node;               /**< whom a reference names; a node that is declared inside */
    Property property;
};

/** A node as it is declared. */
struct Declaration {
    const char *name;
    Id owner; /**< the StructReg of a StructEntry, the Enumeration of an EnumEntry; or kNobody */
    Element element;
    bool isStandard; /**< its name space */
    uint32_t firstItem = 0;
    uint32_t items = 0;
    uint32_t singles = 0; /**< the first of them, of whose properties there is one each */
    uint32_t parts = 0;   /**< the first of them, with all that the node itself needs */
};

class Description {
public:
    /**
     * \throw GenICam_3_0::RuntimeException   it is refused; says what is wrong, and at which node
     * \throw GenICam_3_0::PropertyException  the same, for a number that is none
     */
    explicit Description(std::string document);

    size_t size() const { return declarations_.size(); }
    const Declaration &operator[](Id node) const { return declarations_[node]; }

    /** The node of that name, kNobody when there is none; entries and StructRegs have none. */
    Id find(std::string_view name) const;

    /** The StructReg of a StructEntry, kNobody of others. */
    Id above(Id node) const {
        const Declaration &of = declarations_[node];
        return of.element == Element::StructEntry ? of.owner : kNobody;
    }

    struct Items {
        const Item *first;
        const Item *last;
        const Item *begin() const { return first; }
        const Item *end() const { return last; }
    };
    /** What stands in the node's own element: singles first, then parts, then the rest. */
    Items itemsOf(Id node) const;
    /** The singles and parts of them. */
    Items partsOf(Id node) const;

    /** The node's item, or what a StructEntry has from its StructReg; null when there is none. */
    const Item *find(Id node, Property property) const;
    /** The text of that item; "" when there is none. */
    const char *textOf(Id node, Property property) const;

    /** Major and minor version of the schema that it says it is written for. */
    std::pair<int, int> schema() const { return schema_; }

private:
    friend class Loader;

    std::string document_;
    std::deque<std::string> texts_; // those that do not stand in the document so
    std::vector<Declaration> declarations_;
    std::vector<Item> items_;
    std::map<std::string_view, Id> names_; // not hashed: a camera chooses the names
    std::pair<int, int> schema_;
};

} // namespace genapi

#endif
