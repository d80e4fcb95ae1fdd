/**
 * How much a description may make an evaluation cost. What a camera chooses ends at one of these;
 * beside each stands what real descriptions reach.
 */
#ifndef KXINFO_GENAPI_BOUNDS_H
#define KXINFO_GENAPI_BOUNDS_H

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace genapi {

/** Nodes one above the other in one access; the longest chain of references known has 20. */
constexpr int kDeepestChain = 100;

/**
 * Steps of one access: a node looked at or an operation of a formula is one, a command to the
 * camera \ref kStepsOfCommand. Accesses to real cameras take some thousands.
 */
constexpr uint64_t kMostSteps = 1'000'000;
constexpr uint64_t kStepsOfCommand = 1'000;

/** From the first command of an access to its last one. */
constexpr std::chrono::milliseconds kLongestAccess{10'000};

/** Characters of a number, zeros in front included. */
constexpr size_t kLongestNumber = 1'000;

/** What an address may be the sum of; the longest known has a handful of parts. */
constexpr size_t kMostAddressParts = 64;

/** Characters of one formula; the longest known has 2,043. */
constexpr size_t kLongestFormula = 16 << 10;
/** Bounds and entries of variables that one node's formulas may name: X.Max, X.Entry.Name, ... */
constexpr size_t kMostAspects = 1'000;
/** Brackets, functions and signs open at one place; the deepest known has 30. */
constexpr size_t kDeepestBrackets = 200;

/** Bytes of a register: tables and file buffers are the longest. */
constexpr uint64_t kLongestRegister = 64 << 10;

/** Bytes of neighbouring registers that are read at once: one command takes as many. */
constexpr size_t kMostTogether = 512;
/** How long they may be used when they are asked for only later. */
constexpr std::chrono::milliseconds kLongestUnasked{100};

/** Registers that are read ahead; a description of 1.3 MB has some thousands. */
constexpr size_t kMostAhead = 16'384;
/** How often that may fail: registers that a camera describes and does not have are found one by one. */
constexpr int kMostRefusals = 32;

/** Bytes of registers that are kept; all are forgotten when there are more. */
constexpr size_t kMostKept = 4 << 20;

} // namespace genapi

#endif
