// The entry symbol of the library file. It ends the process, so this program puts an _exit() of its
// own in front of the C library's, which comes back instead.

#include "plug_in.h"

#include <unistd.h>

namespace {

struct Ended {
    int status;
    std::size_t written; // bytes that standard output had received by then
};

} // namespace

extern "C" KX_API void _exit(int status) {
    throw Ended{status, static_cast<std::size_t>(lseek(STDOUT_FILENO, 0, SEEK_CUR))};
}

namespace {

using LibraryEntry = PlugIn;

TEST_F(LibraryEntry, PrintsTheVersionBeforeItEndsTheProcessWithStatusZero) {
    Ended ended{-99, 0};
    const Logged logged = host::caught([&] {
        try {
            LibEntry();
        } catch (const Ended &end) {
            ended = end;
        }
    });
    EXPECT_EQ(0, ended.status);
    EXPECT_THAT(logged.out, testing::MatchesRegex("Version: [0-9]+\\.[0-9]+\\.[0-9]+-[0-9a-f]+\n"));
    EXPECT_EQ(logged.out.size(), ended.written);
    EXPECT_THAT(logged.system, IsEmpty());
}

} // namespace
