/** What is known of a camera's registers without asking. */
#ifndef KXINFO_GIGE_REGISTER_CACHE_H
#define KXINFO_GIGE_REGISTER_CACHE_H

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

namespace gige {

/** A register of the description. */
struct Register {
    /** What the description allows. */
    enum class Caching {
        Never,       /**< the camera changes it by itself (NoCache, or it has a polling time) */
        WriteAround, /**< kept after reading, asked again after writing: the camera may round */
        WriteThrough /**< kept after reading and after writing */
    };
    /** Where its bytes lie; moving registers, whose address is computed, have no address. */
    struct Place {
        uint64_t address;
        uint64_t size;
        bool operator<(const Place &other) const {
            return std::tie(address, size) < std::tie(other.address, other.size);
        }
    };

    std::optional<Place> place;
    Caching caching = Caching::Never;
    bool isBigEndian = false; /**< a number that is declared so; neither a text nor anything else */
    /** Where registers lie that may change this one when they are written; none: one that moves. */
    std::vector<std::optional<Place>> invalidators;
};

/**
 * The rule: what a register holds is not asked again while nobody else can have changed it. Nobody
 * can while this program controls the camera, the description says that the camera itself does not
 * (see Register::Caching), and none of the registers has been written that the description names as
 * invalidators. So only registers that were made known are kept, only those with an address of
 * their own, and nothing is kept of a camera that is only monitored. A register that moves with a
 * selector is asked each time; the selector is not.
 *
 * Writes always go to the camera; the cache hears of them.
 */
class RegisterCache {
public:
    /** \param inControl  false when the camera is only monitored */
    explicit RegisterCache(bool inControl) : inControl_(inControl) {}

    /** Makes a register known. Of two at the same place the stricter caching counts. */
    void learn(const Register &reg);

    /** Whether the register there is declared as a big-endian number; nothing: it is not known. */
    std::optional<bool> isBigEndian(uint64_t address, uint64_t size) const;

    /** What is known of these bytes; null when the camera has to be asked. */
    const uint8_t *find(uint64_t address, uint64_t size) const;

    /** The camera has been asked, and said this. */
    void read(uint64_t address, uint64_t size, const uint8_t *bytes);

    /** These bytes were written, or may have been. */
    void written(uint64_t address, uint64_t size, const uint8_t *bytes, bool surely);

private:
    using Place = Register::Place;
    struct Entry {
        Register::Caching caching;
        std::vector<uint8_t> bytes; // empty: not known
    };

    void forget(const std::set<Place> &places);

    bool inControl_;
    std::map<Place, bool> bigEndian_;
    uint64_t longest_ = 0; // of the places below
    std::map<Place, Entry> entries_;
    std::map<Place, std::set<Place>> dependents_; // places that a write there may change
    std::set<Place> dependOnMoving_; // places that a write to a moving register may change
};

} // namespace gige

#endif
