/** Work on several cameras at the same time. */
#ifndef KXINFO_CAMERA_SIDE_BY_SIDE_H
#define KXINFO_CAMERA_SIDE_BY_SIDE_H

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <future>
#include <system_error>
#include <vector>

namespace kxinfo {

/**
 * Calls work(0) to work(count - 1), each once and at most so many at a time, and returns when all
 * have returned. They must not throw.
 */
template <class Work>
void sideBySide(size_t count, size_t most, const Work &work) {
    std::atomic<size_t> next{0};
    const auto takeTurns = [&] {
        for (size_t i = next++; i < count; i = next++)
            work(i);
    };
    std::vector<std::future<void>> helpers; // each is waited for by its destructor
    try {
        while (helpers.size() + 1 < std::min(count, most))
            helpers.push_back(std::async(std::launch::async, takeTurns));
    } catch (const std::system_error &) {
        // There are no more threads: fewer do it, too.
    }
    takeTurns();
}

} // namespace kxinfo

#endif
