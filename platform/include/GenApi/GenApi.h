/**
 * A camera's features as nodes of a map.
 *
 * A node is reached as INode * and implements its value interface beside it, so that
 * `dynamic_cast<IInteger *>(node)` decides its kind. Every operation may raise an exception derived
 * from GenICam_3_0::GenericException (Base/GCException.h):
 *
 *  - reading a node whose access mode is NI, NA or WO, writing one that is NI, NA or RO, asking one
 *    that is NI or NA for its range: AccessException
 *  - writing with verification outside minimum to maximum, or an integer off its increment; not a
 *    number: OutOfRangeException
 *  - writing text that names no entry of an enumeration, or that is no number; the text of an
 *    enumeration's value that no entry has: InvalidArgumentException
 *  - a formula that is undefined at a value, a boolean that is neither on nor off, an increment of
 *    0: LogicalErrorException
 *  - the camera does not answer in time: TimeoutException
 *  - the camera answers with an error status, or is gone; a float beyond 64 bits read as an integer;
 *    an access that costs more than it may: RuntimeException
 *
 * `Verify` asks for those checks of the value; `IgnoreCache = false` allows a cached register
 * value where the description lets the register be cached.
 */
#ifndef KXINFO_PLATFORM_GENAPI_GENAPI_H
#define KXINFO_PLATFORM_GENAPI_GENAPI_H

#include <cstdint>
#include <vector>

#include "Base/GCException.h"
#include "Base/GCString.h"

#define KX_GENAPI_DECL __attribute__((visibility("default")))

namespace GenApi_3_0 {

using GenICam_3_0::gcstring;

/** What may be done with a node at present. */
typedef enum {
    NI, /**< not implemented */
    NA, /**< not available */
    WO, /**< write only */
    RO, /**< read only */
    RW  /**< read and write */
} EAccessMode;

/** Whom a feature is meant for. */
typedef enum { Beginner, Expert, Guru, Invisible, _UndefinedVisibility = 99 } EVisibility;

/** The interface that a node is most of all. */
typedef enum {
    intfIValue,
    intfIBase,
    intfIInteger,
    intfIBoolean,
    intfICommand,
    intfIFloat,
    intfIString,
    intfIRegister,
    intfICategory,
    intfIEnumeration,
    intfIEnumEntry,
    intfIPort
} EInterfaceType;

/** Anything that has an access mode. */
struct KX_GENAPI_DECL IBase {
    virtual EAccessMode GetAccessMode() const = 0;

protected:
    // Nodes belong to their map; nobody deletes one through an interface.
    virtual ~IBase();
};

/** A node of the map. */
struct KX_GENAPI_DECL INode : virtual IBase {
    virtual gcstring GetName(bool FullQualified = false) const = 0;
    /** What the description says of it; Beginner when it says nothing. */
    virtual EVisibility GetVisibility() const = 0;
    /** A sentence for people; empty when there is none. */
    virtual gcstring GetToolTip() const = 0;
    virtual EInterfaceType GetPrincipalInterfaceType() const = 0;

protected:
    ~INode() override;
};

/** A node that has a value. */
struct KX_GENAPI_DECL IValue : virtual IBase {
    virtual gcstring ToString(bool Verify = false, bool IgnoreCache = false) = 0;
    virtual void FromString(const gcstring &ValueStr, bool Verify = true) = 0;

protected:
    ~IValue() override;
};

struct KX_GENAPI_DECL IInteger : virtual IValue {
    virtual int64_t GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
    virtual void SetValue(int64_t Value, bool Verify = true) = 0;
    virtual int64_t GetMin() = 0;
    virtual int64_t GetMax() = 0;
    virtual int64_t GetInc() = 0;
    /** What the value counts; empty when nobody says. */
    virtual gcstring GetUnit() = 0;

protected:
    ~IInteger() override;
};

struct KX_GENAPI_DECL IFloat : virtual IValue {
    virtual double GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
    virtual void SetValue(double Value, bool Verify = true) = 0;
    virtual double GetMin() = 0;
    virtual double GetMax() = 0;
    virtual bool HasInc() = 0;
    /** 0 when the node has no increment. */
    virtual double GetInc() = 0;
    virtual gcstring GetUnit() = 0;

protected:
    ~IFloat() override;
};

struct KX_GENAPI_DECL IBoolean : virtual IValue {
    virtual bool GetValue(bool Verify = false, bool IgnoreCache = false) const = 0;
    virtual void SetValue(bool Value, bool Verify = true) = 0;

protected:
    ~IBoolean() override;
};

/** One entry of an enumeration. */
struct KX_GENAPI_DECL IEnumEntry : virtual IValue {
    virtual gcstring GetSymbolic() const = 0;
    virtual int64_t GetValue() = 0;

protected:
    ~IEnumEntry() override;
};

typedef std::vector<gcstring> StringList_t;

struct KX_GENAPI_DECL IEnumeration : virtual IValue {
    /** \return the entry, owned by the map; null when the enumeration has no such entry */
    virtual IEnumEntry *GetEntryByName(const gcstring &Symbolic) = 0;
    virtual int64_t GetIntValue(bool Verify = false, bool IgnoreCache = false) = 0;
    virtual void SetIntValue(int64_t Value, bool Verify = true) = 0;
    /** \return the current entry, owned by the map; null when the value matches none */
    virtual IEnumEntry *GetCurrentEntry(bool Verify = false, bool IgnoreCache = false) = 0;
    /** Replaces \p Symbolics with the names of the entries. */
    virtual void GetSymbolics(StringList_t &Symbolics) = 0;

protected:
    ~IEnumeration() override;
};

/** Features: each is a node too. */
typedef std::vector<IValue *> FeatureList_t;

struct KX_GENAPI_DECL ICategory : virtual IValue {
    /** Adds to \p Features those that the category holds, in their order. */
    virtual void GetFeatures(FeatureList_t &Features) const = 0;

protected:
    ~ICategory() override;
};

/** A node that may choose which of several values others have; most choose none. */
struct KX_GENAPI_DECL ISelector : virtual IBase {
    /** Adds to \p Features those whose value it chooses. */
    virtual void GetSelectedFeatures(FeatureList_t &Features) const = 0;

protected:
    ~ISelector() override;
};

/** A camera's features. */
struct KX_GENAPI_DECL INodeMap {
    /** \return the node, owned by the map; null when there is none of that name */
    virtual INode *GetNode(const gcstring &Name) const = 0;

protected:
    virtual ~INodeMap();
};

/** Refers to a node map, or to none. */
class KX_GENAPI_DECL CNodeMapRef {
public:
    explicit CNodeMapRef(INodeMap *map = nullptr);
    ~CNodeMapRef();

    /**
     * The node of that name; null when the map has none.
     * Raises AccessException "Feature not present (reference not valid)" when there is no map.
     */
    INode *_GetNode(const gcstring &Name) const;

private:
    INodeMap *map_;
};

/** A null pointer counts as not implemented. */
inline bool IsImplemented(const IBase *node) {
    return node && node->GetAccessMode() != NI;
}
inline bool IsAvailable(const IBase *node) {
    return IsImplemented(node) && node->GetAccessMode() != NA;
}
inline bool IsReadable(const IBase *node) {
    return node && (node->GetAccessMode() == RO || node->GetAccessMode() == RW);
}
inline bool IsWritable(const IBase *node) {
    return node && (node->GetAccessMode() == WO || node->GetAccessMode() == RW);
}

} // namespace GenApi_3_0

#endif
