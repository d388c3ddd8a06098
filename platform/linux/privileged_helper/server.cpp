#include "platform/linux/privileged_helper/server.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <cstring>

#include "platform/linux/privileged_helper/jobs.h"
#include "platform/linux/privileged_helper/peer.h"
#include "platform/linux/privileged_helper/staging_folder.h"

namespace quorvane::platform::linux_::helper {
namespace {

struct Pipe {
    Descriptor reading;
    Descriptor writing;
};

/// Null ends, with errno set, when there is none to be had.
Pipe makePipe() {
    std::array<int, 2> ends{-1, -1};
    ignore(::pipe2(ends.data(), O_CLOEXEC));
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

bool hasOutput(const Descriptor& pipe) {
    int size = 0;
    return ::ioctl(pipe.get(), FIONREAD, &size) == 0 && size > 0;
}

void reapLateTools() {
    while (::waitpid(-1, nullptr, WNOHANG) > 0) {
    }
}

class Server {
public:
    Server(const Peer& peer, uid_t user, const Path& records)
        : peer_(peer), user_(user), records_(records), protectedFolders_(user) {}

    bool run() {
        removeLeftovers(records_);
        if (!answer({0, AnswerKind::granted, 0})) return true;
        while (true) {
            const Received received = peer_.receive(message_);
            if (received.kind == Received::Kind::hungUp) return true;
            if (received.kind == Received::Kind::stranger) {
                ::syslog(LOG_WARNING, "user %u: a message of another process, so I end", user_);
                return false;
            }
            reapLateTools();
            if (!respond(received)) return true;
        }
    }

private:
    bool respond(const Received& received) {
        const Request request = parseRequest({message_.data(), received.size});
        if (received.error != 0) return refuse(request.id, received.error);
        if (request.error != 0) return refuse(request.id, request.error);
        const Command command = readCommand(request);
        if (command.error != 0) return refuse(request.id, command.error);
        return carryOut(request.id, command);
    }

    bool carryOut(std::uint32_t id, const Command& command) {
        Pipe output = makePipe();
        if (!output.writing) return refuse(id, errno);
        const Started started = start(command, &protectedFolders_, output.writing.get(), records_);
        if (started.error != 0) return refuse(id, started.error);
        output.writing.reset();
        const ToolStatus status =
            started.child == 0 ? started.status : waitForTool(started.child, kPatience);
        if (!status.ended) return answer({id, AnswerKind::started, 0}, output.reading.get());
        const int reading = hasOutput(output.reading) ? output.reading.get() : -1;
        return answer({id, AnswerKind::ended, status.value}, reading);
    }

    bool refuse(std::uint32_t id, int error) {
        ::syslog(LOG_NOTICE, "user %u: refused: %s", user_, ::strerrordesc_np(error));
        return answer({id, AnswerKind::refused, error});
    }

    bool answer(const Answer& content, int descriptor = -1) {
        std::array<char, sizeof content> bytes{};
        std::memcpy(bytes.data(), &content, sizeof content);
        return peer_.send(bytes, descriptor);
    }

    const Peer& peer_;
    uid_t user_;
    const Path& records_;
    ProtectedFolders protectedFolders_;
    std::array<char, kMaximumRequest> message_{};
};

} // namespace

bool serve(int socket, uid_t user, const Path& records) {
    const Peer peer(socket);
    return peer.belongsTo(user) && Server(peer, user, records).run();
}

} // namespace quorvane::platform::linux_::helper
