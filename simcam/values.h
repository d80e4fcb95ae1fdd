#ifndef KXINFO_SIMCAM_VALUES_H
#define KXINFO_SIMCAM_VALUES_H

#include "description.h"
#include "protocol.h"

#include <cstdint>
#include <optional>
#include <string>

/** Values as people write them, and as a register's bytes hold them. */
namespace simcam {

/** Decimal or 0x...; the whole text must be the number. Hexadecimal uses all 64 bits. */
std::optional<int64_t> toInteger(const std::string &text);

/** The whole text must be the number. */
std::optional<double> toFloat(const std::string &text);

/** "127.0.0.2" for an address in host byte order. */
std::string dotted(uint32_t address);

/** Whether the bits of an integer register hold the value. */
bool fits(int64_t value, const Register &reg);

/** Puts an integer into the register's bytes; the bits beside a field stay as they are. */
void storeInteger(int64_t value, const Register &reg, Bytes &bytes);

/** The bytes of a float register, and of one that holds a text of at most its length. */
Bytes encodeFloat(double value, const Register &reg);
Bytes encodeText(const std::string &text, const Register &reg);

int64_t loadInteger(const Register &reg, const Bytes &bytes);

/** "1936", "0.45", "\"left door\"", an enumeration's entry, or a block's bytes in hexadecimal. */
std::string valueText(const Register &reg, const Bytes &bytes);

/** "Width", "Gain[SensorAll]", "LUTValue[Red][17]": the feature, and how its cell is selected. */
std::string cellName(const Register &reg, uint32_t cell);

} // namespace simcam

#endif
