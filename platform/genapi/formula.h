/** Formulas of SwissKnives and converters. */
#ifndef KXINFO_GENAPI_FORMULA_H
#define KXINFO_GENAPI_FORMULA_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace genapi {

/**
 * A formula, compiled once. Its values stand in slots that the caller numbers.
 *
 * Operators, tightest first; each line is one level, grouped from the left, and is not C's. All
 * operands are evaluated, also those of the branch that is not taken.
 *
 *     ( )  functions
 *     -  +  ~                                 before an operand, also right after an operator
 *     **  <<  >>  &  |  ^
 *     *  /  %
 *     +  -
 *     =  <>  <  >  <=  >=  &&  ||  and  ? :
 *
 * So `-2**2` is 4, `1<<2+1` is 5, `1|2&4` is 0. What stands before a `?` on its level is the
 * condition, and after the `:` one sum: `A?1:B?2:3` is `(A?1:B)?2:3`, `A?1:B=2` is `(A?1:B)=2`.
 * Between the two no further `?` may stand without brackets. Comparisons give 1 or 0; what is not
 * 0 is true. There is no `==`, `!=` or `!`. Blanks, tabs and line ends part words and mean nothing.
 *
 * Names are of letters, digits, `_` and `.`, and do not begin with a digit or a dot; a name before
 * a bracket is a function's, in any case. Numbers are decimal, also with zeros before them, or
 * hexadecimal after 0x.
 *
 * In integer formulas everything is 64-bit two's complement and wraps. Numbers have neither point
 * nor exponent and end at 2^63-1. `/` truncates toward zero, `%` has the sign of its left side,
 * `x**-n` is the truncated 1/x**n, shifts go by their count modulo 64, and `>>` keeps the sign.
 * Functions are SGN and NEG.
 *
 * In the others everything is a double. `5.` is a number, `.5` is none; hexadecimal ones end at
 * 2^64-1. `%` is C's fmod; `~ & | ^ << >>` are computed with operands truncated to 64-bit integers.
 * PI and E, in any case, are constants and hide variables of that name. Functions are SIN COS TAN
 * ASIN ACOS ATAN EXP LN LG (base 10) SQRT ABS SGN NEG TRUNC FLOOR CEIL, ROUND(x) and
 * ROUND(x, digits) with halves away from zero; outside their domain they give NaN or infinity.
 *
 * Undefined, and raising: `/` and `%` by 0, an integer 0 to a negative power, and bits of a double
 * beyond 64 bits. No formula at all, and raising as well: what is written otherwise, is empty, has
 * an unknown name, is longer than kLongestFormula, or has more than kDeepestBrackets brackets,
 * functions and signs open at one place.
 */
class Formula {
public:
    enum class Kind { Integer, Float };

    /** The number of a name's slot; nothing when there is no such name (case matters). */
    using Slots = std::function<std::optional<uint32_t>(std::string_view name)>;

    /**
     * Compiles. A formula that is none is found out here, but raises only when it is evaluated.
     *
     * \param text  need not outlive the formula
     */
    Formula(Kind kind, std::string_view text, const Slots &slots);

    /** The slots that it uses, each once, in the order of their first use; empty when it is none. */
    const std::vector<uint32_t> &used() const { return used_; }

    /** Operations in it: what an evaluation costs. 0 when it is none. */
    size_t size() const {
        return std::visit([](const auto &program) { return program.size(); }, program_);
    }

    /**
     * The value; \p slots must hold those that are used.
     *
     * \param node  whose formula it is, for what is raised
     * \throw GenICam_3_0::LogicalErrorException  it is no formula, or undefined at these values
     */
    template <class Value>
    Value evaluate(const Value *slots, const char *node) const; /**< int64_t, or double: its kind */

private:
    template <class Value>
    struct Operation {
        enum Code : uint8_t { Slot, Constant, Unary, Binary, Choose } code;
        union {
            uint32_t slot;
            Value constant;
            Value (*unary)(Value);
            Value (*binary)(Value, Value);
        };
    };
    template <class Value>
    using Program = std::vector<Operation<Value>>; // in postfix order; empty: it is no formula
    template <class Arithmetic>
    class Compiler;

    template <class Arithmetic>
    void compile(std::string_view text, const Slots &slots);

    std::variant<Program<int64_t>, Program<double>> program_;
    std::vector<uint32_t> used_;
    std::string words_;     // the beginning of the text, or why it is no formula
    size_t mostValues_ = 0; // that wait for an operation at one time
};

} // namespace genapi

#endif
