/** What went wrong, as text. */
#ifndef KXINFO_TESTS_GVCP_PROBLEM_H
#define KXINFO_TESTS_GVCP_PROBLEM_H

#include <string>

#include "gvcp/error.h"

/** "Silent: it does not answer": the error that \p call raises. */
template <class Call>
std::string problemOf(const Call &call) {
    static constexpr const char *kCauses[] = {"Silent",      "Unreachable", "Refused", "Controlled",
                                              "ControlLost", "Description", "Stopped"};
    try {
        call();
    } catch (const gvcp::Error &error) {
        return kCauses[static_cast<int>(error.cause())] + std::string(": ") + error.what();
    }
    return "no problem";
}

/** The same without the cause, which has to be that of a description. */
template <class Call>
std::string refusalOf(const Call &call) {
    const std::string cause = "Description: ";
    const std::string problem = problemOf(call);
    return problem.rfind(cause, 0) == 0 ? problem.substr(cause.size()) : problem;
}

#endif
