/** The way from a node map to its camera: gvcp's channel, with the camera's byte order looked after. */
#ifndef KXINFO_GIGE_PORT_H
#define KXINFO_GIGE_PORT_H

#include "genapi/nodemap.h"
#include "genapi/port.h"
#include "gvcp/channel.h"

namespace gige {

/** How a camera wants its 4-byte registers accessed. */
enum class RegisterAccess {
    Undecided,          /**< as memory, unless that turns out to have another byte order */
    Memory,             /**< as any other memory */
    BigEndianByCommand, /**< those declared big endian by register commands: memory shows them else */
    AllByCommand,       /**< by register commands, as old descriptions mean it */
};

/** For one thread at a time. What fails raises a GenICam exception. */
class Port final : public genapi::Port {
public:
    /** \param channel  must outlive the port */
    explicit Port(gvcp::Channel &channel) : channel_(channel) {}

    /** Before the first access: who uses the port, so that messages can name features. */
    void setNodeMap(const genapi::NodeMap &nodeMap) { nodeMap_ = &nodeMap; }

    /** Before the first access; Undecided unless set. */
    void setRegisterAccess(RegisterAccess access) { access_ = access; }

    void read(uint64_t address, uint8_t *bytes, size_t size, genapi::ByteOrder order) override;
    bool readTogether(uint64_t address, uint8_t *bytes, size_t size,
                      genapi::ByteOrder order) override;
    bool readApart(const std::vector<uint64_t> &addresses, uint8_t *bytes,
                   genapi::ByteOrder order) override;
    void write(uint64_t address, const uint8_t *bytes, size_t size,
               genapi::ByteOrder order) override;
    void requireKept() override;
    std::chrono::milliseconds now() const override;

private:
    [[noreturn]] void raise(const gvcp::Error &error, const char *action, uint64_t address) const;
    template <class Do>
    void carryOut(const char *action, uint64_t address, Do access);
    void readNumbers(const std::vector<uint32_t> &addresses, uint8_t *bytes);
    void compare(uint32_t address, uint8_t *bytes);

    gvcp::Channel &channel_;
    const genapi::NodeMap *nodeMap_ = nullptr;
    RegisterAccess access_ = RegisterAccess::Undecided;
    int undecided_ = 0; // comparisons that told nothing
    bool refusesTogether_ = false;
};

} // namespace gige

#endif
