/** What refuses something says why. */
#ifndef KXINFO_TESTS_GVCP_REFUSAL_H
#define KXINFO_TESTS_GVCP_REFUSAL_H

#include <gtest/gtest.h>

#include <string>

#include "gvcp/error.h"

/** The text of the error that \p call ends with, which has to be one of a description. */
template <typename Call>
std::string refusalOf(const Call &call) {
    try {
        call();
    } catch (const gvcp::Error &error) {
        EXPECT_EQ(gvcp::Cause::Description, error.cause());
        return error.what();
    }
    return "nothing was refused";
}

#endif
