/**
 * A camera's features as they are, without what the camera class adds to them: for what it has no
 * operation for (kind, access, reading switches and enumerations) and for values that have to be
 * exact, as the camera itself holds them.
 *
 * Reading and writing raise the platform's exceptions.
 */
#ifndef KXINFO_HOST_CAMERA_NODES_H
#define KXINFO_HOST_CAMERA_NODES_H

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "GenApi/GenApi.h"

namespace kxinfo {

enum class Kind { Missing, Integer, Float, Boolean, Enumeration };

/** The camera's own value, by kind; of an enumeration the entry's name. */
using RawValue = std::variant<int64_t, double, bool, std::string>;

/** Missing also when the camera has the feature as a kind that is none of these. */
Kind kindOf(const GenApi_3_0::CNodeMapRef &nodeMap, const char *feature);

/** NI for a feature that the camera does not have. */
GenApi_3_0::EAccessMode accessOf(const GenApi_3_0::CNodeMapRef &nodeMap, const char *feature);

/** Whether the camera has the feature and lets it be read, or written, at present. */
bool isReadable(const GenApi_3_0::CNodeMapRef &nodeMap, const char *feature);
bool isWritable(const GenApi_3_0::CNodeMapRef &nodeMap, const char *feature);

/** Whether a register's value that has been read before may be used again. */
enum class Cache { Used, Ignored };

/** \pre the feature is not missing */
RawValue readRaw(const GenApi_3_0::CNodeMapRef &nodeMap, const char *feature,
                 Cache cache = Cache::Used);

/**
 * Writes a value of the feature's own kind, verified by the camera's description.
 *
 * \pre the feature is of the value's kind
 */
void writeRaw(const GenApi_3_0::CNodeMapRef &nodeMap, const char *feature, const RawValue &value);

/**
 * The feature itself, to be read and written many times; null unless it is an integer. Valid while
 * the camera is open.
 */
GenApi_3_0::IInteger *integerOf(const GenApi_3_0::CNodeMapRef &nodeMap, const char *feature);

/** Lowest and highest value of a float, or of an integer. \pre the feature is of that kind */
struct FloatLimits {
    double min, max;
    double inc; ///< 0: none
};
FloatLimits floatLimits(const GenApi_3_0::CNodeMapRef &nodeMap, const char *feature);

struct IntegerLimits {
    int64_t min, max;
};
IntegerLimits integerLimits(const GenApi_3_0::CNodeMapRef &nodeMap, const char *feature);

/** Names of an enumeration's entries; none of another feature. */
std::vector<std::string> entriesOf(const GenApi_3_0::CNodeMapRef &nodeMap, const char *feature);

} // namespace kxinfo

#endif
