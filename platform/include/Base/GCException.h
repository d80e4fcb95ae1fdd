/** The errors that a node map raises. */
#ifndef KXINFO_PLATFORM_BASE_GCEXCEPTION_H
#define KXINFO_PLATFORM_BASE_GCEXCEPTION_H

#include <cstdarg>
#include <cstdio>
#include <exception>
#include <string>

namespace GenICam_3_0 {

/** Base of every GenICam error. Texts returned live as long as the exception object. */
class __attribute__((visibility("default"))) GenericException : public std::exception {
public:
    GenericException(const char *description, const char *sourceFileName, unsigned int sourceLine,
                     const char *exceptionType);
    GenericException(const GenericException &other);
    GenericException &operator=(const GenericException &other);
    ~GenericException() noexcept override;

    /** What went wrong, alone. */
    const char *GetDescription() const noexcept;
    /** The source file that raised it. */
    const char *GetSourceFileName() const noexcept;
    /** The line in that file. */
    unsigned int GetSourceLine() const noexcept;
    /** Description, type, file and line in one text. */
    const char *what() const noexcept override;

private:
    std::string description_;
    std::string sourceFileName_;
    unsigned int sourceLine_;
    std::string what_;
};

#define KX_DECLARE_GENICAM_EXCEPTION(name)                                                         \
    class __attribute__((visibility("default"))) name : public GenericException {                  \
    public:                                                                                        \
        name(const char *description, const char *sourceFileName, unsigned int sourceLine,         \
             const char *exceptionType);                                                           \
        name(const name &other);                                                                   \
        name &operator=(const name &other);                                                        \
        ~name() noexcept override;                                                                 \
    }

/** Memory is exhausted. */
KX_DECLARE_GENICAM_EXCEPTION(BadAllocException);
/** A text names no entry of the enumeration, or is no number. */
KX_DECLARE_GENICAM_EXCEPTION(InvalidArgumentException);
/** A value is outside minimum to maximum, or off the increment. */
KX_DECLARE_GENICAM_EXCEPTION(OutOfRangeException);
/** A number of the description is none. */
KX_DECLARE_GENICAM_EXCEPTION(PropertyException);
/** The camera answered with an error, or is gone; the description is refused. */
KX_DECLARE_GENICAM_EXCEPTION(RuntimeException);
/** A formula is undefined, or what a description says contradicts itself. */
KX_DECLARE_GENICAM_EXCEPTION(LogicalErrorException);
/** The node's access mode does not allow it. */
KX_DECLARE_GENICAM_EXCEPTION(AccessException);
/** The camera did not answer in time. */
KX_DECLARE_GENICAM_EXCEPTION(TimeoutException);
/** A node is not of the kind asked for. */
KX_DECLARE_GENICAM_EXCEPTION(DynamicCastException);

#undef KX_DECLARE_GENICAM_EXCEPTION

/**
 * Makes an exception of class \p E that names where it was raised:
 * `throw ExceptionReporter<AccessException>(__FILE__, __LINE__, "AccessException").Report("…")`.
 */
template <typename E>
class ExceptionReporter {
public:
    /** The texts must outlive the reporter. */
    ExceptionReporter(const char *sourceFileName, unsigned int sourceLine,
                      const char *exceptionType)
        : sourceFileName_(sourceFileName), sourceLine_(sourceLine), exceptionType_(exceptionType) {}

    /** \param format printf format of the description; cut at 511 characters,
     *  control characters in it become question marks */
    __attribute__((format(printf, 2, 3))) E Report(const char *format, ...) const {
        char description[512];
        va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(description, sizeof description, format, arguments);
        va_end(arguments);
        clean(description);
        return E(description, sourceFileName_, sourceLine_, exceptionType_);
    }

private:
    // Names that a camera chose must not write into a terminal or a log what they like.
    static void clean(char *text) {
        for (unsigned char before = 0; *text; before = static_cast<unsigned char>(*text++)) {
            const auto c = static_cast<unsigned char>(*text);
            const bool isC1 = c >= 0x80 && c < 0xa0 && (before < 0x80 || before == 0xc2);
            if (c < ' ' || c == 0x7f || isC1)
                *text = '?';
        }
    }

    const char *sourceFileName_;
    unsigned int sourceLine_;
    const char *exceptionType_;
};

} // namespace GenICam_3_0

#endif
