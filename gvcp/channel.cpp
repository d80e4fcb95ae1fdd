#include "gvcp/channel.h"

#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <memory>
#include <random>
#include <system_error>

#include "gvcp/network.h"

// A command goes down a ladder of functions, each of which adds one thing: transact() fails at once
// when the camera is lost and makes an exception of an error status; tryWhileBusy() tries again
// while the camera is busy; exchange() repeats what has had no answer, with the same request id, so
// that the camera can tell a repetition from a new command; await() waits, longer where the camera
// asks for it; receive() takes one packet. The socket is connected, so the kernel drops what comes
// from another address or port, and reports when nobody listens.

namespace gvcp {
namespace {

using namespace std::chrono_literals;

// What every camera can read in one command; some refuse more.
constexpr size_t kModestBlock = 512;
constexpr size_t kRegister = 4;

// Tells why the kernel does not let anything to the camera, or from it.
[[noreturn]] void fail(uint32_t camera, int error) {
    std::string why = "nobody listens at " + dotted(camera) + ", port " + std::to_string(kPort);
    if (error != ECONNREFUSED)
        why = whyOutside(camera);
    if (why.empty())
        why = "this computer has no way to " + dotted(camera) + " (" +
              std::generic_category().message(error) + ")";
    throw Error(Cause::Unreachable, why);
}

// Whether the camera refuses a register since it has none. One that is busy may have it.
bool isLack(const Error &error) {
    return error.cause() == Cause::Refused && error.status() != kAccessDenied &&
           error.status() != kBusy;
}

void checkEnd(uint32_t address, size_t size) {
    if (size > 0 && size - 1 > UINT32_MAX - address)
        throw Error(Cause::Refused, "its memory ends at 32 bits");
}

Descriptor openSocket(const Place &place) {
    Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket)
        throw std::system_error(errno, std::generic_category(), "open a socket");
    const int on = 1;
    const sockaddr_in from = socketAddress(place.host, 0);
    const sockaddr_in to = socketAddress(place.camera, kPort);
    if ((place.onLink && setsockopt(socket.get(), SOL_SOCKET, SO_DONTROUTE, &on, sizeof on) != 0) ||
        bind(socket.get(), reinterpret_cast<const sockaddr *>(&from), sizeof from) != 0 ||
        connect(socket.get(), reinterpret_cast<const sockaddr *>(&to), sizeof to) != 0)
        fail(place.camera, errno);
    return socket;
}

} // namespace

std::string textOf(const Controller &controller) {
    if (controller.address == 0)
        return "another program controls it";
    return "another program controls it (" + dotted(controller.address) + ", port " +
           std::to_string(controller.port) + ")";
}

Channel::Channel(const Place &place, Access access, const Waits &waits)
    : place_(place),
      access_(access),
      waits_(waits),
      socket_(openSocket(place)),
      requestId_(static_cast<uint16_t>(std::random_device()())),
      openingDeadline_(Clock::now() + waits.longestOpening) {
    const std::lock_guard<std::mutex> lock(mutex_);
    try {
        open();
    } catch (const Error &error) {
        giveControlBack();
        // All that a camera under exclusive control tells others is that.
        if (error.status() == kAccessDenied)
            throw Controlled(Controller{});
        throw;
    } catch (...) {
        giveControlBack();
        throw;
    }
}

Channel::~Channel() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        closing_ = true;
    }
    wake_.notify_all();
    if (heart_.joinable())
        heart_.join();
    giveControlBack();
}

void Channel::open() {
    if (const auto capability = fetchUnlessLacking({bootstrap::kCapability}); !capability.empty())
        capability_ = capability[0];
    const Controller present = readController();
    const uint32_t hindrance =
        access_ == Access::Monitor ? kExclusiveAccess : (kExclusiveAccess | kControlAccess);
    if (present.privilege & hindrance)
        throw Controlled(present);
    if (access_ != Access::Monitor)
        takeControl();
}

void Channel::takeControl() {
    if (const auto timeout = fetchUnlessLacking({bootstrap::kHeartbeatTimeout}); !timeout.empty())
        heartbeat_ = std::clamp<Clock::duration>(std::chrono::milliseconds(timeout[0]) /
                                                     kHeartbeatsPerTimeout,
                                                 waits_.shortestHeartbeat, waits_.longestHeartbeat);
    const uint32_t wanted =
        access_ == Access::Exclusive ? kControlAccess | kExclusiveAccess : kControlAccess;
    self_.emplace(); // from here on it is given back: whoever gives it may fail to say so
    try {
        store(bootstrap::kControlPrivilege, wanted);
    } catch (const Error &error) {
        if (error.status() != kAccessDenied)
            throw; // given back: some cameras say no and mean yes
        self_.reset();
        throw Controlled(readController());
    }
    // Some cameras say yes and mean no.
    const Controller now = readController();
    if (!(now.privilege & wanted))
        throw Error(Cause::Controlled, "it says that it gives control, and gives none");
    if (access_ == Access::Exclusive && !(now.privilege & kExclusiveAccess))
        throw Error(Cause::Controlled, "it gives control, but does not keep other programs out");
    self_ = now;
    // A thread gets no signals that are blocked when it starts: they are the caller's business.
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const auto restore = [](const sigset_t *mask) { pthread_sigmask(SIG_SETMASK, mask, nullptr); };
    const std::unique_ptr<const sigset_t, decltype(restore)> restored(&before, restore);
    heart_ = std::thread(&Channel::beat, this);
}

void Channel::beat() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!wake_.wait_for(lock, heartbeat_, [this] { return closing_; })) {
        try {
            // Once a stop is asked for, the camera hears from it, but nobody has to wait for it.
            noticeLoss();
        } catch (const std::exception &) {
            // The caller's next operation will tell.
        }
    }
}

void Channel::noticeLoss() {
    if (!self_ || lost_)
        return;
    std::string why;
    try {
        const Controller now = readController();
        const bool told = now.address != 0; // a camera may stop telling who it is
        if (told ? now == *self_ : now.privilege == self_->privilege)
            return;
        why = now.privilege ? textOf(now) : "it has not heard from this program in time";
    } catch (const Error &error) {
        if (error.status() != kAccessDenied)
            throw;
        why = textOf(Controller{}); // which keeps others out
    }
    lost_.emplace(Cause::ControlLost, "control of it is lost: " + why);
}

// A camera that has fallen silent gets one more chance to hear it, since it would keep others out
// until its heartbeat timeout.
void Channel::giveControlBack() {
    if (!self_ || (lost_ && lost_->cause() == Cause::ControlLost))
        return;
    if (lost_) {
        tries_ = 1;
        waits_.longestPending = {};
    }
    lost_.reset();
    openingDeadline_.reset();
    self_.reset();
    heedsStop_ = false;
    try {
        store(bootstrap::kControlPrivilege, 0);
    } catch (const std::exception &) {
        // Its heartbeat timeout will free it.
    }
}

void Channel::openingEnds() {
    const std::lock_guard<std::mutex> lock(mutex_);
    openingDeadline_.reset();
}

void Channel::read(uint32_t address, uint8_t *to, size_t size) {
    checkEnd(address, size);
    while (size > 0) {
        const std::lock_guard<std::mutex> lock(mutex_);
        const size_t before = address % kRegister;
        const size_t whole = (before + size + kRegister - 1) / kRegister * kRegister;
        const size_t block = std::min(largestBlock_, whole);
        uint8_t payload[8] = {};
        put32(payload, static_cast<uint32_t>(address - before));
        put16(payload + 6, static_cast<uint16_t>(block));
        try {
            const Answer answer = transact({kReadMemory, payload, sizeof payload, 4 + block});
            const size_t used = std::min(block - before, size);
            memcpy(to, answer.payload + 4 + before, used);
            address += static_cast<uint32_t>(used);
            to += used;
            size -= used;
        } catch (const Error &error) {
            if (!isLack(error) || block <= kModestBlock)
                throw;
            largestBlock_ = kModestBlock;
        }
    }
}

void Channel::write(uint32_t address, const uint8_t *from, size_t size) {
    checkEnd(address, size);
    change([&] {
        while (size > 0) {
            const size_t block = std::min(largestBlock_, size);
            writeBlock(address, from, block);
            address += static_cast<uint32_t>(block);
            from += block;
            size -= block;
        }
    });
}

void Channel::writeBlock(uint32_t address, const uint8_t *from, size_t size) {
    const bool registers = address % kRegister == 0 && size % kRegister == 0;
    if (capability_ & kCanWriteMemory || !registers) {
        std::array<uint8_t, kLargestPayload> payload;
        put32(payload.data(), address);
        std::copy_n(from, size, payload.begin() + 4);
        try {
            transact({kWriteMemory, payload.data(), 4 + size, 4});
            return;
        } catch (const Error &error) {
            if (error.status() != kNotImplemented || !registers)
                throw;
            capability_ &= ~kCanWriteMemory;
        }
    }
    for (size_t at = 0; at < size; at += kRegister)
        store(address + static_cast<uint32_t>(at), get32(from + at));
}

std::vector<uint32_t> Channel::readRegisters(const std::vector<uint32_t> &addresses) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return fetch(addresses);
}

void Channel::writeRegister(uint32_t address, uint32_t value) {
    change([&] { store(address, value); });
}

template <class Do>
void Channel::change(Do write) {
    if (access_ == Access::Monitor)
        throw Error(Cause::Refused, "it was opened for reading only");
    const std::lock_guard<std::mutex> lock(mutex_);
    try {
        write();
    } catch (const Error &error) {
        if (error.status() != kAccessDenied)
            throw;
        noticeLoss();
        if (lost_)
            throw Error(*lost_);
        throw;
    }
}

void Channel::requireUse() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (lost_)
        throw Error(*lost_);
}

Controller Channel::controller() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return readController();
}

std::vector<uint32_t> Channel::fetch(const std::vector<uint32_t> &addresses) {
    const size_t most = capability_ & kCanConcatenate ? kLargestPayload / kRegister : 1;
    std::vector<uint32_t> values;
    values.reserve(addresses.size());
    while (values.size() < addresses.size()) {
        const size_t count = std::min(most, addresses.size() - values.size());
        std::array<uint8_t, kLargestPayload> payload;
        for (size_t i = 0; i < count; ++i)
            put32(&payload[i * kRegister], addresses[values.size() + i]);
        const size_t size = count * kRegister;
        const Answer answer = transact({kReadRegister, payload.data(), size, size});
        for (size_t i = 0; i < count; ++i)
            values.push_back(get32(answer.payload + i * kRegister));
    }
    return values;
}

std::vector<uint32_t> Channel::fetchUnlessLacking(const std::vector<uint32_t> &addresses) {
    try {
        return fetch(addresses);
    } catch (const Error &error) {
        if (!isLack(error))
            throw;
        return {};
    }
}

void Channel::store(uint32_t address, uint32_t value) {
    uint8_t payload[8];
    put32(payload, address);
    put32(payload + 4, value);
    transact({kWriteRegister, payload, sizeof payload, 4});
}

Controller Channel::readController() {
    using namespace bootstrap;
    if (capability_ & kTellsController) {
        const auto values =
            fetchUnlessLacking({kControlPrivilege, kControllerPort, kControllerAddress});
        if (!values.empty())
            return {values[0], values[2], static_cast<uint16_t>(values[1])};
        capability_ &= ~kTellsController;
    }
    return {fetch({kControlPrivilege})[0]};
}

Answer Channel::transact(const Request &request) {
    if (lost_)
        throw Error(*lost_);
    const auto start = Clock::now();
    try {
        const Answer answer = tryWhileBusy(request);
        const auto time = Clock::now() - start;
        if (time <= waits_.prompt)
            patience_ = std::min<Clock::duration>(patience_ + waits_.patienceGain, waits_.patience);
        else
            patience_ -= time;
        if (patience_ < Clock::duration::zero())
            lost_.emplace(Cause::Silent, "it answers too slowly");
        if (answer.status != kSuccess)
            throw Error(Cause::Refused, statusText(answer.status), answer.status);
        return answer;
    } catch (const Error &error) {
        if (error.cause() == Cause::Silent)
            lost_.emplace(Cause::Silent, "it stopped answering earlier");
        else if (error.cause() == Cause::Unreachable)
            lost_ = error;
        throw;
    }
}

Answer Channel::tryWhileBusy(const Request &request) {
    const auto end = Clock::now() + waits_.longestBusy;
    for (auto wait = waits_.busyPause;; wait *= 2) {
        const Answer answer = exchange(request);
        const auto now = Clock::now();
        if (answer.status != kBusy || now >= end)
            return answer;
        const auto next = std::min<Clock::time_point>(now + wait, end);
        while (Clock::now() < next)
            pause(next, 0);
    }
}

uint16_t Channel::nextRequestId() {
    requestId_ = static_cast<uint16_t>(requestId_ % UINT16_MAX + 1); // never 0
    return requestId_;
}

Answer Channel::exchange(const Request &request) {
    const uint16_t requestId = nextRequestId();
    const Packet packet = makeCommand(request.command, requestId, request.payload, request.size);
    Pending pending;
    for (size_t i = 0; i < tries_; ++i) {
        repetitions_ += i > 0;
        send(packet);
        if (const auto answer = await(request, requestId, pending, Clock::now() + waits_.answer[i]))
            return *answer;
    }
    throw Error(Cause::Silent, "it does not answer");
}

std::optional<Answer> Channel::await(const Request &request, uint16_t requestId, Pending &pending,
                                     Clock::time_point deadline) {
    for (;;) {
        const auto now = Clock::now();
        if (openingDeadline_ && now >= *openingDeadline_)
            throw Error(Cause::Silent, "opening it takes too long");
        if (now >= deadline)
            return std::nullopt;
        // What takes the camera seconds must not cost control meanwhile; nobody waits for this answer.
        if (pending.count > 0 && self_ && now >= pending.heartbeat) {
            uint8_t payload[kRegister];
            put32(payload, bootstrap::kControlPrivilege);
            send(makeCommand(kReadRegister, nextRequestId(), payload, sizeof payload));
            pending.heartbeat = now + heartbeat_;
        }
        pause(deadline, POLLIN);
        const auto answer = receive();
        if (!answer || answer->requestId != requestId)
            continue;
        if (answer->command == (kPending | 1) && answer->size >= 4) {
            const auto arrival = Clock::now();
            if (pending.count == 0) {
                pending.until = arrival + waits_.longestPending;
                pending.heartbeat = arrival + heartbeat_;
            }
            if (++pending.count > kMostPending || arrival >= pending.until)
                throw Error(Cause::Silent, "it keeps putting its answer off");
            const std::chrono::milliseconds asked(get16(answer->payload + 2));
            const auto promised = arrival + asked + waits_.answer[0];
            deadline = std::min(std::max(deadline, promised), pending.until);
            continue;
        }
        if (answer->command != (request.command | 1))
            continue;
        const bool fits =
            answer->size == request.answerSize &&
            (request.command != kReadMemory || memcmp(answer->payload, request.payload, 4) == 0);
        if (answer->status != kSuccess || fits)
            return answer;
    }
}

// Waits for the socket's events, for no longer than a slice; the caller looks at the time again.
void Channel::pause(Clock::time_point end, short events) {
    if (heedsStop_ && stopAsked())
        throw Error(Cause::Stopped, "stopped while waiting for it");
    const auto left = std::min<Clock::duration>(end - Clock::now(), kSlice);
    const auto wait = std::max(std::chrono::ceil<std::chrono::milliseconds>(left), 0ms);
    pollfd waits{socket_.get(), events, 0};
    // Without events only the time is waited for: an error that is pending would end that at once.
    poll(&waits, events ? 1 : 0, static_cast<int>(wait.count()));
}

std::optional<Answer> Channel::receive() {
    const ssize_t size = recv(socket_.get(), buffer_.data(), buffer_.size(), MSG_DONTWAIT);
    if (size >= 0)
        return parseAnswer(buffer_.data(), static_cast<size_t>(size));
    if (errno != EAGAIN && errno != EINTR)
        fail(place_.camera, errno);
    return std::nullopt;
}

void Channel::send(const Packet &packet) {
    const ssize_t sent = ::send(socket_.get(), packet.bytes.data(), packet.size, MSG_NOSIGNAL);
    // What could not be sent for want of room is lost, as on the network.
    if (sent < 0 && errno != EAGAIN && errno != ENOBUFS && errno != EINTR)
        fail(place_.camera, errno);
}

} // namespace gvcp
