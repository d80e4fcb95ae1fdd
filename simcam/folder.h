#ifndef KXINFO_SIMCAM_FOLDER_H
#define KXINFO_SIMCAM_FOLDER_H

#include "descriptor.h"

#include <string>

namespace simcam {

/**
 * A folder that files are put into, the same one even if something else gets its name. Others may
 * write there, too: what they have planted is not followed, not written to and lends no mode.
 */
class Folder {
public:
    explicit Folder(const std::string &path);

    /** Whether there is such a folder; nothing can be put into it otherwise. */
    bool exists() const { return descriptor_.get() >= 0; }

    /**
     * Whoever waits for the file sees all of it or none. What has its name is replaced. Throws
     * std::runtime_error when it cannot be written, and leaves nothing behind then.
     */
    void put(const std::string &name, const std::string &content) const;

private:
    std::string path_; // for messages
    Descriptor descriptor_;
};

} // namespace simcam

#endif
