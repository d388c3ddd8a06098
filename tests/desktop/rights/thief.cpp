// thief NAME
//
// Another program of the same user, which wants what the programs of this name are sent. It tries
// every new process by every means that a user has, from before it has become that program until
// it ends, so long as its standard input is open. Then it prints
//
// seen COUNT                    processes of that name
// MEANS TRIED REFUSED SUCCEEDED a line for each means, for these processes
// loot HEX                      a line for each message that came over a socket of theirs

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/linux/pidfd.h"
#include "platform/linux/posix.h"

namespace {

using namespace std::chrono_literals;
using quorvane::platform::linux_::Descriptor;

/// What came of one means.
struct Means {
    const char* name;
    std::atomic<int> tried = 0, refused = 0, succeeded = 0;
};

class Thief {
public:
    explicit Thief(std::string wanted) : wanted_(std::move(wanted)) {}

    /// Looks at the number that the system gave out last, until told to stop.
    void watch() {
        const Descriptor numbers(::open("/proc/loadavg", O_RDONLY | O_CLOEXEC));
        pid_t last = newest(numbers);
        while (!isOver_) {
            const pid_t now = newest(numbers);
            if (now < last) last = now; // they begin anew
            while (last < now) arriving_.push_back({++last, Clock::now()});
            std::erase_if(arriving_, [this](const Arrival& arrival) { return meet(arrival); });
        }
        for (std::thread& robbery : robberies_) robbery.join();
    }
    void stop() { isOver_ = true; }

    void report() const {
        std::cout << "seen " << seen_ << '\n';
        for (const Means* means : {&socket_, &memory_, &trace_, &files_})
            std::cout << means->name << ' ' << means->tried << ' ' << means->refused << ' '
                      << means->succeeded << '\n';
        for (const std::string& message : loot_) {
            std::cout << "loot ";
            for (const char byte : message) std::printf("%02x", static_cast<unsigned char>(byte));
            std::cout << std::endl;
        }
    }

private:
    using Clock = std::chrono::steady_clock;
    struct Arrival {
        pid_t number;
        Clock::time_point time;
    };

    static pid_t newest(const Descriptor& numbers) {
        std::string line(128, '\0');
        const auto size = ::pread(numbers.get(), line.data(), line.size(), 0);
        line.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
        const std::size_t place = line.rfind(' ');
        return place == std::string::npos ? 0 : std::atoi(line.c_str() + place + 1);
    }

    /// Whether the process is there, and being robbed, or there will be none: the number is given
    /// out a little before, and to threads too.
    bool meet(const Arrival& arrival) {
        Descriptor victim(::pidfd_open(arrival.number, 0));
        if (!victim) return Clock::now() - arrival.time > 20ms;
        robberies_.emplace_back([this, process = arrival.number,
                                 held = std::make_shared<Descriptor>(std::move(victim))] {
            robUntilItEnds(process, *held);
        });
        return true;
    }

    void robUntilItEnds(pid_t process, const Descriptor& victim) {
        const auto start = Clock::now();
        const std::string folder = "/proc/" + std::to_string(process) + "/";
        bool isKnown = false;
        pollfd ended{victim.get(), POLLIN, 0};
        while (!isOver_ && ::poll(&ended, 1, 0) == 0) {
            if (!isKnown && isWanted(folder)) {
                isKnown = true;
                ++seen_;
            }
            takeSocket(victim, isKnown);
            if (isKnown) lookIn(process, folder);
            // What is worth taking comes early.
            if (Clock::now() - start > 100ms) std::this_thread::sleep_for(1ms);
        }
    }

    bool isWanted(const std::string& folder) const {
        std::string name;
        std::ifstream file(folder + "comm");
        return std::getline(file, name) && name == wanted_;
    }

    static bool note(Means& means, bool succeeded) {
        const bool refused = !succeeded && (errno == EPERM || errno == EACCES);
        ++means.tried;
        if (refused) ++means.refused;
        if (succeeded) ++means.succeeded;
        return succeeded;
    }

    void takeSocket(const Descriptor& victim, bool isKnown) {
        const Descriptor taken(::pidfd_getfd(victim.get(), STDIN_FILENO, 0));
        if (!isKnown) {
            int kind = 0;
            socklen_t size = sizeof kind;
            if (!taken || ::getsockopt(taken.get(), SOL_SOCKET, SO_TYPE, &kind, &size) != 0 ||
                kind != SOCK_SEQPACKET)
                return;
        }
        if (note(socket_, static_cast<bool>(taken))) listen(taken);
    }

    /// Reads what its owner is sent before the owner does, and leaves it there.
    void listen(const Descriptor& socket) {
        std::string message(8192, '\0');
        const auto start = Clock::now();
        while (!isOver_ && Clock::now() - start < 3s) {
            const auto size =
                ::recv(socket.get(), message.data(), message.size(), MSG_PEEK | MSG_DONTWAIT);
            if (size == 0) return;
            if (size < 0) continue;
            const std::lock_guard lock(mutex_);
            loot_.push_back(message.substr(0, static_cast<std::size_t>(size)));
            return;
        }
    }

    void lookIn(pid_t process, const std::string& folder) {
        note(memory_,
             static_cast<bool>(Descriptor(::open((folder + "mem").c_str(), O_RDONLY | O_CLOEXEC))));
        if (note(trace_, ::ptrace(PTRACE_SEIZE, process, nullptr, nullptr) == 0))
            ::ptrace(PTRACE_DETACH, process, nullptr, nullptr);
        DIR* const files = ::opendir((folder + "fd").c_str());
        note(files_, files != nullptr);
        if (files != nullptr) ::closedir(files);
    }

    const std::string wanted_;
    std::atomic<bool> isOver_ = false;
    std::atomic<int> seen_ = 0;
    Means socket_{"socket"}, memory_{"memory"}, trace_{"trace"}, files_{"files"};
    std::vector<Arrival> arriving_;
    std::vector<std::thread> robberies_;
    std::mutex mutex_;
    std::vector<std::string> loot_;
};

} // namespace

int main(int count, char** arguments) {
    if (count != 2) return 2;
    Thief thief(arguments[1]);
    std::thread watcher([&] { thief.watch(); });
    std::cout << "ready" << std::endl;
    for (char byte = 0; std::cin.get(byte);) {
    }
    thief.stop();
    watcher.join();
    thief.report();
}
