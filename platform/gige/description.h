/** What a camera's description says about a node, beyond what Aravis asks of it. */
#ifndef KXINFO_GIGE_DESCRIPTION_H
#define KXINFO_GIGE_DESCRIPTION_H

#include <arv.h>

#include <string>

namespace gige {

/** What a node is to its user, after its element in the description. */
enum class Kind { Integer, Float, Boolean, Enumeration, EnumEntry, Text, Command, Category, Other };

Kind kindOf(ArvGcNode *node);

/** The node that this one's value comes from (its pValue); null when it has its own. */
ArvGcFeatureNode *linkedFeature(ArvGcFeatureNode *node);

/** What is to know about a node before its first use. */
struct Inspection {
    /**
     * Why it can never be evaluated: something that its value, bounds or access mode need is
     * missing, refers to no node, goes round in a circle, or is no formula. Empty when nothing is
     * wrong.
     */
    std::string defect;
    /** Whether Aravis' cache can be trusted with all registers that it depends on. */
    bool cachable = true;
};

/** Looks through the description; asks the camera nothing. */
Inspection inspect(ArvGcFeatureNode *node);

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

/** Whether writing the node changes some bits of a register and has to keep the others. */
bool writesPartOfRegister(ArvGcFeatureNode *node);

/** Whether 4-byte registers are meant to be accessed by register commands (before schema 1.1). */
bool meansRegisterCommands(ArvGc *description);

} // namespace gige

#endif
