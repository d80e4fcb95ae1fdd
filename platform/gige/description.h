/** What a camera's description says about a node, beyond what Aravis asks of it. */
#ifndef KXINFO_GIGE_DESCRIPTION_H
#define KXINFO_GIGE_DESCRIPTION_H

#include <arv.h>

#include <set>
#include <string>

#include "register_cache.h"

namespace gige {

/** Bytes of a register that holds a number or a text: far more than any does. */
constexpr uint64_t kLongestRegister = 64 << 10;

/** What a node is to its user, after its element in the description. */
enum class Kind { Integer, Float, Boolean, Enumeration, EnumEntry, Text, Command, Category, Other };

Kind kindOf(ArvGcNode *node);

/** The node that this one's value comes from (its pValue); null when it has its own. */
ArvGcFeatureNode *linkedFeature(ArvGcFeatureNode *node);

/** Looks through a description before its nodes are used, each node once; asks the camera nothing. */
class Inspector {
public:
    /** \param cache  is told of all registers that are met; must outlive the inspector */
    explicit Inspector(RegisterCache &cache) : cache_(cache) {}

    /**
     * Why a node can never be evaluated: something that its value, bounds or access mode need is
     * missing, refers to no node, goes round in a circle, or is no formula. Empty when nothing is
     * wrong.
     */
    std::string defectOf(ArvGcFeatureNode *node);

private:
    std::string ofValue(gpointer node);
    std::string ofBoundsAndAccess(gpointer node);
    std::string ofTarget(gpointer node, ArvGcPropertyNode *property);
    std::string ofParts(gpointer node);

    RegisterCache &cache_;
    std::set<gpointer> sound_;
    std::set<gpointer> underway_;
};

/**
 * Why the SwissKnife behind a value of 0 could not be evaluated at present (Aravis gives 0 then);
 * empty when it was, or when there is none.
 */
std::string failedReading(ArvGcFeatureNode *node);

/**
 * Why the converter on the way from \p value to the camera cannot be evaluated at present (Aravis
 * writes 0 then); empty when it can, or when there is none.
 */
std::string failedWriting(ArvGcFeatureNode *node, double value);

/** Whether 4-byte registers are meant to be accessed by register commands (before schema 1.1). */
bool meansRegisterCommands(ArvGc *description);

} // namespace gige

#endif
