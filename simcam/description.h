#ifndef KXINFO_SIMCAM_DESCRIPTION_H
#define KXINFO_SIMCAM_DESCRIPTION_H

#include "memory.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace simcam {

/** The names that an enumeration has for its numbers. */
using Entries = std::map<int64_t, std::string>;

/** One register node of a camera description: where it lies and what it holds in a fresh camera. */
struct Register {
    enum class Kind { Integer, Float, Text, Block };

    /**
     * One <pIndex>: a step of one in the selecting register moves the address by `stride` bytes.
     */
    struct Index {
        std::string selector; // the node that says how many steps
        uint32_t stride;
        std::shared_ptr<const Entries> entries; // the selector's; null for a number
    };

    std::string name;    // of the register node
    std::string feature; // of the node that users see it through; its own name if there is none
    Kind kind = Kind::Block;
    uint32_t address = 0;
    uint32_t length = 0;    // bytes of one cell
    uint32_t cellCount = 1; // cells follow each other, `stride` bytes apart
    uint32_t stride = 0;
    Memory::Access access = Memory::kRead;
    bool littleEndian = false;
    bool isSigned = false;
    unsigned shift = 0; // least significant bit and width of a field within an integer
    unsigned width = 64;
    std::vector<Index> indexes; // widest stride first
    Entries entries;            // of the enumeration kept here
    std::vector<Bytes> initial; // first cells; the others start as zero
};

/**
 * A node that is no register, as far as it takes to give it a starting value: what it accepts and
 * which nodes its value goes to.
 */
struct Feature {
    enum class Kind { Integer, Float, Boolean, Enumeration, Text };

    Kind kind = Kind::Integer;
    std::string obstacle; // why it has no starting value, "is a command"; empty if it may have one
    std::vector<std::string> holders; // <pValue> and <pValueCopy>: features or registers

    // <pValueIndexed>: which node holds the value depends on that of another.
    std::string index;
    std::map<int64_t, std::string> indexed;
    std::string otherwise;

    std::string min, max; // as the description writes them; empty where computed or without limit
    int64_t on = 1, off = 0;
    std::vector<std::pair<std::string, int64_t>> entries;
    std::optional<int64_t> constant; // <Value> of an Integer
};

/**
 * A camera model: a GenICam description in the two forms that cameras serve, and its registers.
 *
 * A register's initial value stands beside its address, in the <Extension> that the GenICam schema
 * leaves to whoever writes a description:
 *
 *   <Extension><Initial>1.0</Initial><Initial>2.0</Initial><Cells>12</Cells></Extension>
 *
 * Each <Initial> is one cell: a register behind a selector has as many as it has <Initial>s, or as
 * <Cells> says where there are more. Without an <Extension> a register is one cell of zeros.
 * Addresses must be constant, plus any number of <pIndex>: registers placed by <pAddress> or by a
 * formula, and those whose length is computed, are left unmapped (INVALID_ADDRESS on the wire).
 */
struct Description {
    std::string name; // of the file, without folder and extension
    Bytes plain;      // the XML
    Bytes zipped;     // a zip archive of one entry, NAME.xml
    std::vector<Register> registers;
    std::map<std::string, Feature> features;
    std::vector<std::string> featureNames; // what the categories list

    /** The model that comes with the program. */
    static std::shared_ptr<const Description> builtIn();

    /**
     * Any GenICam file, plain or zipped. Throws std::runtime_error with a sentence that names the
     * file when it cannot be read or is no description.
     */
    static std::shared_ptr<const Description> load(const std::string &path);
};

} // namespace simcam

#endif
