#include "genapi/formula.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <stdexcept>
#include <unordered_set>

#include "genapi/bounds.h"
#include "genapi/errors.h"
#include "genapi/text.h"

namespace genapi {

// A formula becomes a program for a machine with a stack: values are pushed, an operation replaces
// the uppermost values by its result. There are no jumps, as both branches of a choice are
// evaluated, so the compiler knows how high the stack grows.
namespace {

constexpr size_t kLongestWords = 60; // of a formula, in messages
constexpr size_t kFewValues = 32;    // that an evaluation keeps without allocating

struct SyntaxError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/** Whether it is that word, which is in upper case, in any case. */
bool isWord(std::string_view text, std::string_view word) {
    const auto isSame = [](char c, char letter) { return (c & ~0x20) == letter; };
    return text.size() == word.size() && std::equal(text.begin(), text.end(), word.begin(), isSame);
}

/** One line for a message: cut between two characters of UTF-8, without control characters. */
std::string shown(std::string_view text) {
    size_t length = std::min(text.size(), kLongestWords);
    while (length < text.size() && length > 0 && continuesCharacter(text[length]))
        --length;
    std::string result(text.substr(0, length));
    const auto isControl = [](unsigned char c) { return c < ' ' || c == 0x7F; };
    std::replace_if(result.begin(), result.end(), isControl, ' ');
    return length < text.size() ? result + "..." : result;
}

// ---- What operators compute: the rules are in the class's comment ----

/** Thrown by an operation that has no result. */
struct Undefined {
    const char *why;
};

/** What is the same for both kinds of numbers. */
template <class V>
struct Common {
    using Value = V;
    static V sign(V a) { return static_cast<V>((a > 0) - (a < 0)); }
    static V nonZero(V divisor) {
        return divisor != 0 ? divisor : throw Undefined{"division by zero"};
    }
};

/** 64 bits in two's complement that wrap: computed without sign where they might. */
struct Integers : Common<int64_t> {
    static int64_t wrapped(uint64_t value) { return static_cast<int64_t>(value); }
    static uint64_t bits(int64_t value) { return static_cast<uint64_t>(value); }

    static int64_t negate(int64_t a) { return wrapped(-bits(a)); }
    static int64_t invert(int64_t a) { return ~a; }
    static int64_t add(int64_t a, int64_t b) { return wrapped(bits(a) + bits(b)); }
    static int64_t subtract(int64_t a, int64_t b) { return wrapped(bits(a) - bits(b)); }
    static int64_t multiply(int64_t a, int64_t b) { return wrapped(bits(a) * bits(b)); }
    // The smallest number has no positive counterpart: by -1 the processor would trap.
    static int64_t divide(int64_t a, int64_t b) { return b == -1 ? negate(a) : a / nonZero(b); }
    static int64_t modulo(int64_t a, int64_t b) { return b == -1 ? 0 : a % nonZero(b); }
    static int64_t shiftLeft(int64_t a, int64_t b) { return wrapped(bits(a) << (bits(b) & 63)); }
    static int64_t shiftRight(int64_t a, int64_t b) { return a >> (bits(b) & 63); }
    static int64_t bitAnd(int64_t a, int64_t b) { return a & b; }
    static int64_t bitOr(int64_t a, int64_t b) { return a | b; }
    static int64_t bitXor(int64_t a, int64_t b) { return a ^ b; }

    static int64_t power(int64_t base, int64_t exponent) {
        if (exponent < 0 && base != 1 && base != -1)
            return 0 / nonZero(base);
        // A negative exponent gets here with 1 and -1 only, where its lowest bit alone matters.
        uint64_t result = 1;
        uint64_t square = bits(base);
        for (uint64_t rest = bits(exponent); rest != 0; rest >>= 1, square *= square)
            if (rest & 1)
                result *= square;
        return wrapped(result);
    }
};

/** Bits are those of the number truncated to 64 bits. */
struct Doubles : Common<double> {
    static int64_t whole(double value) {
        constexpr double kTwoTo63 = 9223372036854775808.0;
        if (!(value >= -kTwoTo63 && value < kTwoTo63))
            throw Undefined{"bits of a number beyond 64 bits"};
        return static_cast<int64_t>(value);
    }
    template <int64_t operation(int64_t, int64_t)>
    static double ofBits(double a, double b) {
        return static_cast<double>(operation(whole(a), whole(b)));
    }

    static double negate(double a) { return -a; }
    static double invert(double a) { return static_cast<double>(~whole(a)); }
    static double add(double a, double b) { return a + b; }
    static double subtract(double a, double b) { return a - b; }
    static double multiply(double a, double b) { return a * b; }
    static double divide(double a, double b) { return a / nonZero(b); }
    static double modulo(double a, double b) { return std::fmod(a, nonZero(b)); }
    static double power(double a, double b) { return std::pow(a, b); }
    static constexpr auto shiftLeft = ofBits<Integers::shiftLeft>;
    static constexpr auto shiftRight = ofBits<Integers::shiftRight>;
    static constexpr auto bitAnd = ofBits<Integers::bitAnd>;
    static constexpr auto bitOr = ofBits<Integers::bitOr>;
    static constexpr auto bitXor = ofBits<Integers::bitXor>;

    static double roundTo(double value, double digits) {
        const double scale = std::pow(10.0, std::min(std::abs(std::trunc(digits)), 400.0));
        if (digits < 0)
            return std::isinf(scale) ? 0.0 : std::round(value / scale) * scale;
        const double scaled = value * scale;
        // Beyond 2^53 there is no digit left to round.
        return std::abs(scaled) < 0x1p53 ? std::round(scaled) / scale : value;
    }
};

// ---- Words of the language ----

enum Level { kLoosest, kSum, kProduct, kBits };

template <class Value>
struct Operator {
    std::string_view text;
    Level level;
    Value (*function)(Value, Value); // null: a choice, `? :`
};

// The longer ones of the same beginning first.
template <class A>
constexpr Operator<typename A::Value> kOperators[] = {
    {"**", kBits, A::power},
    {"<<", kBits, A::shiftLeft},
    {">>", kBits, A::shiftRight},
    {"<>", kLoosest, [](auto a, auto b) -> decltype(a) { return a != b; }},
    {"<=", kLoosest, [](auto a, auto b) -> decltype(a) { return a <= b; }},
    {">=", kLoosest, [](auto a, auto b) -> decltype(a) { return a >= b; }},
    {"&&", kLoosest, [](auto a, auto b) -> decltype(a) { return a != 0 && b != 0; }},
    {"||", kLoosest, [](auto a, auto b) -> decltype(a) { return a != 0 || b != 0; }},
    {"=", kLoosest, [](auto a, auto b) -> decltype(a) { return a == b; }},
    {"<", kLoosest, [](auto a, auto b) -> decltype(a) { return a < b; }},
    {">", kLoosest, [](auto a, auto b) -> decltype(a) { return a > b; }},
    {"?", kLoosest, nullptr},
    {"+", kSum, A::add},
    {"-", kSum, A::subtract},
    {"*", kProduct, A::multiply},
    {"/", kProduct, A::divide},
    {"%", kProduct, A::modulo},
    {"&", kBits, A::bitAnd},
    {"|", kBits, A::bitOr},
    {"^", kBits, A::bitXor},
};

template <class Value>
struct Function {
    std::string_view name;
    Value (*function)(Value);
};

template <class A>
constexpr Function<int64_t> kFunctions[] = {{"SGN", A::sign}, {"NEG", A::negate}};

template <>
constexpr Function<double> kFunctions<Doubles>[] = {
    {"SGN", Doubles::sign}, {"NEG", Doubles::negate}, {"SIN", std::sin},     {"COS", std::cos},
    {"TAN", std::tan},      {"ASIN", std::asin},      {"ACOS", std::acos},   {"ATAN", std::atan},
    {"EXP", std::exp},      {"LN", std::log},         {"LG", std::log10},    {"SQRT", std::sqrt},
    {"ABS", std::abs},      {"TRUNC", std::trunc},    {"FLOOR", std::floor}, {"CEIL", std::ceil},
    {"ROUND", std::round},
};

} // namespace

// Goes through the text once, from token to token. Each expression is called with the loosest level
// that it may hold; brackets and signs alone make the depth of calls grow, so they are counted.
template <class Arithmetic>
class Formula::Compiler {
public:
    using Value = typename Arithmetic::Value;
    using Step = Operation<Value>;

    Compiler(Formula &formula, std::string_view text, const Slots &slots)
        : formula_(formula), text_(text), slots_(slots) {}

    Program<Value> compile() {
        if (text_.size() > kLongestFormula)
            throw SyntaxError("longer than " + std::to_string(kLongestFormula) + " characters");
        advance();
        expression(kLoosest);
        if (token_.kind != Token::End)
            fail("expected an operator", token_);
        program_.shrink_to_fit();
        return std::move(program_);
    }

private:
    static constexpr bool kIntegers = std::is_same_v<Value, int64_t>;

    struct Token {
        enum Kind { End, Number, Name, Sign } kind;
        std::string_view text;
        const Operator<Value> *operation; // that a sign may be, between two values
    };

    // ---- Grammar ----

    void expression(int level, bool inChoice = false) {
        operand();
        while (token_.operation && token_.operation->level >= level) {
            const Operator<Value> &found = *token_.operation;
            if (!found.function && inChoice)
                fail("brackets are missing", token_);
            advance();
            if (!found.function) {
                expression(kLoosest, true);
                expect(":");
            }
            expression(found.level + 1);
            add(found.function ? Step::Binary : Step::Choose).binary = found.function;
        }
    }

    void operand() {
        const Token first = token_;
        if (first.kind == Token::Number) {
            add(Step::Constant).constant = number();
            advance();
        } else if (first.kind == Token::Name) {
            advance();
            is("(") ? function(first) : variable(first);
        } else if (is("(")) {
            open();
            expression(kLoosest);
            close();
        } else if (is("-") || is("+") || is("~")) {
            open();
            operand();
            --open_;
            if (first.text != "+")
                add(Step::Unary).unary =
                    first.text == "-" ? Arithmetic::negate : Arithmetic::invert;
        } else {
            fail("expected a value", token_);
        }
    }

    Value number() const {
        const bool hexadecimal = token_.text.substr(0, 2).find_first_of("xX") == 1;
        const char *begin = token_.text.data() + (hexadecimal ? 2 : 0);
        const char *end = token_.text.data() + token_.text.size();
        if constexpr (!kIntegers) {
            double value = 0;
            if (!hexadecimal && std::from_chars(begin, end, value).ec != std::errc())
                fail("expected a number in the range of a double", token_);
            if (!hexadecimal)
                return value;
        }
        uint64_t value = 0;
        const auto read = std::from_chars(begin, end, value, hexadecimal ? 16 : 10);
        if (read.ptr != end)
            fail("expected an integer", token_);
        constexpr uint64_t most = kIntegers ? INT64_MAX : UINT64_MAX;
        return static_cast<Value>(read.ec != std::errc() ? most : std::min(value, most));
    }

    void variable(const Token &name) {
        if (!kIntegers && (isWord(name.text, "PI") || isWord(name.text, "E"))) {
            add(Step::Constant).constant = static_cast<Value>(name.text.size() == 2 ? M_PI : M_E);
            return;
        }
        const std::optional<uint32_t> slot = slots_(name.text);
        if (!slot)
            fail("no such variable", name);
        add(Step::Slot).slot = *slot;
        if (seen_.insert(*slot).second)
            formula_.used_.push_back(*slot);
    }

    void function(const Token &name) {
        const auto &known = kFunctions<Arithmetic>;
        const auto *found = std::find_if(std::begin(known), std::end(known), [&](const auto &each) {
            return isWord(name.text, each.name);
        });
        if (found == std::end(known))
            fail("no such function", name);
        open();
        expression(kLoosest);
        const bool hasDigits = found->name == "ROUND" && is(",");
        if (hasDigits) {
            advance();
            expression(kLoosest);
        }
        close();
        if constexpr (!kIntegers) {
            if (hasDigits) {
                add(Step::Binary).binary = Arithmetic::roundTo;
                return;
            }
        }
        add(Step::Unary).unary = found->function;
    }

    void open() {
        if (++open_ > kDeepestBrackets)
            fail("more than " + std::to_string(kDeepestBrackets) + " brackets and signs are open",
                 token_);
        advance();
    }

    void close() {
        expect(")");
        --open_;
    }

    Step &add(typename Step::Code code) {
        if (code == Step::Slot || code == Step::Constant)
            formula_.mostValues_ = std::max(formula_.mostValues_, ++values_);
        else
            values_ -= code == Step::Choose ? 2 : code == Step::Binary ? 1 : 0;
        return program_.emplace_back(Step{code, {}});
    }

    // ---- Tokens ----

    bool is(std::string_view sign) const { return token_.text == sign; }

    void expect(std::string_view sign) {
        if (!is(sign))
            fail("expected '" + std::string(sign) + "'", token_);
        advance();
    }

    void advance() {
        skip(isBlank);
        const size_t begin = next_;
        const char first = at(begin);
        token_ = {Token::Sign, {}, nullptr};
        if (begin >= text_.size()) {
            token_.kind = Token::End;
        } else if (beginsName(first)) {
            token_.kind = Token::Name;
            skip(isInName);
        } else if (isDigit(first)) {
            token_.kind = Token::Number;
            skipNumber();
        } else {
            ++next_;
            skip(continuesCharacter);
            for (const Operator<Value> &each : kOperators<Arithmetic>)
                if (text_.substr(begin, each.text.size()) == each.text) {
                    token_.operation = &each;
                    next_ = begin + each.text.size();
                    break;
                }
        }
        token_.text = text_.substr(begin, next_ - begin);
    }

    void skipNumber() {
        const char base = at(next_ + 1);
        if (at(next_) == '0' && (base == 'x' || base == 'X') && isHexDigit(at(next_ + 2))) {
            next_ += 2;
            return skip(isHexDigit);
        }
        skip(isDigit);
        if (at(next_) == '.') {
            ++next_;
            skip(isDigit);
        }
        const size_t exponent = next_ + (at(next_ + 1) == '+' || at(next_ + 1) == '-' ? 2 : 1);
        if ((at(next_) == 'e' || at(next_) == 'E') && isDigit(at(exponent))) {
            next_ = exponent;
            skip(isDigit);
        }
    }

    void skip(bool (*isPart)(char)) {
        while (isPart(at(next_)))
            ++next_;
    }

    char at(size_t index) const { return index < text_.size() ? text_[index] : '\0'; }

    [[noreturn]] void fail(const std::string &what, const Token &where) const {
        if (where.kind == Token::End)
            throw SyntaxError(what + " at its end");
        throw SyntaxError(what + " at '" + shown(where.text) + "' (character " +
                          std::to_string(where.text.data() - text_.data() + 1) + ")");
    }

    Program<Value> program_;
    Formula &formula_;
    const std::string_view text_;
    const Slots &slots_;
    size_t next_ = 0; // where the next token begins, or the blanks before it
    Token token_{};
    size_t open_ = 0;   // brackets and signs
    size_t values_ = 0; // on the stack
    std::unordered_set<uint32_t> seen_;
};

template <class Arithmetic>
void Formula::compile(std::string_view text, const Slots &slots) {
    auto &program = program_.emplace<Program<typename Arithmetic::Value>>();
    try {
        program = Compiler<Arithmetic>(*this, text, slots).compile();
    } catch (const SyntaxError &error) {
        words_ = "the formula '" + words_ + "' is none: " + error.what();
        used_.clear();
    }
}

Formula::Formula(Kind kind, std::string_view text, const Slots &slots) : words_(shown(text)) {
    kind == Kind::Integer ? compile<Integers>(text, slots) : compile<Doubles>(text, slots);
}

template <class Value>
Value Formula::evaluate(const Value *slots, const char *node) const {
    const auto &program = std::get<Program<Value>>(program_);
    if (program.empty())
        KXGENAPI_RAISE(LogicalErrorException, "'%.60s': %s", node, words_.c_str());
    Value few[kFewValues];
    std::vector<Value> many(mostValues_ > kFewValues ? mostValues_ : 0);
    Value *next = many.empty() ? few : many.data(); // above the uppermost value
    try {
        for (const Operation<Value> &step : program) {
            switch (step.code) {
            case Operation<Value>::Slot:
                *next++ = slots[step.slot];
                break;
            case Operation<Value>::Constant:
                *next++ = step.constant;
                break;
            case Operation<Value>::Unary:
                next[-1] = step.unary(next[-1]);
                break;
            case Operation<Value>::Binary:
                --next;
                next[-1] = step.binary(next[-1], next[0]);
                break;
            case Operation<Value>::Choose:
                next -= 2;
                next[-1] = next[-1] != 0 ? next[0] : next[1];
                break;
            }
        }
    } catch (const Undefined &error) {
        KXGENAPI_RAISE(LogicalErrorException, "'%.60s': %s in the formula '%s'", node, error.why,
                       words_.c_str());
    }
    return next[-1];
}

template int64_t Formula::evaluate(const int64_t *, const char *) const;
template double Formula::evaluate(const double *, const char *) const;

} // namespace genapi
