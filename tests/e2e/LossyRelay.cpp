// A UDP relay that stands between the session's clients and its host on this machine and
// makes the link between them a bad one: it drops a share of the datagrams and delays the rest
// by a fixed time plus a random jitter, in both directions, from a seeded generator so that a
// run can be repeated. Each client that sends to the listening port gets a socket of its own
// towards the host, so the host sees as many peers as there are clients.
//
//   lossy-relay --listen PORT --host PORT [--loss PERCENT] [--delay MS] [--jitter MS]
//               [--seed N] [--ready FILE] [--counts FILE]
//
// Everything stays on 127.0.0.1: the relay listens there and forwards only to a port there.
// It runs until SIGINT or SIGTERM, then prints one line of counts:
//   up <sent>/<received> datagrams <bytes> bytes, down <sent>/<received> datagrams <bytes> bytes
// ("up" is clients to host; bytes are those forwarded). With --ready it writes its listening
// port into FILE once it listens, so a script can wait for it. With --counts it appends to
// FILE once a second: CLOCK_MONOTONIC milliseconds, then datagrams and bytes forwarded up, then
// down, so that rates can be set beside the games' own time-stamped lines.
#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <netinet/in.h>
#include <poll.h>
#include <queue>
#include <random>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

volatile std::sig_atomic_t g_stop = 0;

void Stop(int) {
    g_stop = 1;
}

struct Options {
    int listen_port = 0;
    int host_port = 0;
    double loss = 0;
    int delay_ms = 0;
    int jitter_ms = 0;
    unsigned seed = 1;
    std::string ready_file;
    std::string counts_file;
};

struct Pending {
    Clock::time_point due;
    std::uint64_t order; // keeps datagrams due at the same moment in arrival order
    int socket;
    sockaddr_in to;
    std::vector<char> data;

    bool operator>(const Pending& other) const {
        return due != other.due ? due > other.due : order > other.order;
    }
};

struct Direction {
    std::uint64_t received = 0, sent = 0, bytes = 0;
};

sockaddr_in Loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(std::uint16_t(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int BoundSocket(int port) {
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return -1;
    }
    const sockaddr_in address = Loopback(port);
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

bool ParsePort(const char* text, int& port) {
    char* end = nullptr;
    const long value = std::strtol(text, &end, 10);
    if (*end != '\0' || value < 0 || value > 65535) {
        return false;
    }
    port = int(value);
    return true;
}

bool Parse(int argc, char** argv, Options& o) {
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        if (i + 1 >= argc) {
            return false;
        }
        const char* value = argv[++i];
        if (name == "--listen") {
            if (!ParsePort(value, o.listen_port)) {
                return false;
            }
        } else if (name == "--host") {
            if (!ParsePort(value, o.host_port) || o.host_port == 0) {
                return false;
            }
        } else if (name == "--loss") {
            o.loss = std::atof(value);
        } else if (name == "--delay") {
            o.delay_ms = std::max(0, std::atoi(value));
        } else if (name == "--jitter") {
            o.jitter_ms = std::max(0, std::atoi(value));
        } else if (name == "--seed") {
            o.seed = unsigned(std::strtoul(value, nullptr, 10));
        } else if (name == "--ready") {
            o.ready_file = value;
        } else if (name == "--counts") {
            o.counts_file = value;
        } else {
            return false;
        }
    }
    return o.host_port != 0 && o.loss >= 0 && o.loss <= 100;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    if (!Parse(argc, argv, options)) {
        std::fprintf(stderr,
                     "usage: %s --listen PORT --host PORT [--loss PERCENT] [--delay MS] "
                     "[--jitter MS] [--seed N] [--ready FILE] [--counts FILE]\n",
                     argv[0]);
        return 2;
    }
    const int listener = BoundSocket(options.listen_port);
    if (listener < 0) {
        std::fprintf(stderr, "lossy-relay: cannot listen on 127.0.0.1:%d: %s\n",
                     options.listen_port, std::strerror(errno));
        return 1;
    }
    if (!options.ready_file.empty()) {
        sockaddr_in bound{};
        socklen_t length = sizeof bound;
        ::getsockname(listener, reinterpret_cast<sockaddr*>(&bound), &length);
        const std::string part = options.ready_file + ".part";
        if (FILE* file = std::fopen(part.c_str(), "w")) {
            std::fprintf(file, "%d\n", ntohs(bound.sin_port));
            std::fclose(file);
            std::rename(part.c_str(), options.ready_file.c_str());
        }
    }
    struct sigaction action {};
    action.sa_handler = Stop;
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);

    const sockaddr_in host = Loopback(options.host_port);
    std::mt19937 random(options.seed);
    std::uniform_real_distribution<double> percent(0.0, 100.0);
    std::uniform_int_distribution<int> jitter(0, options.jitter_ms);
    std::priority_queue<Pending, std::vector<Pending>, std::greater<>> queue;
    std::uint64_t order = 0;
    // One socket towards the host per client address, and the client behind each.
    std::map<std::uint64_t, int> upstream;
    std::map<int, sockaddr_in> client_of;
    Direction up, down;
    FILE* counts =
        options.counts_file.empty() ? nullptr : std::fopen(options.counts_file.c_str(), "a");
    auto next_count = Clock::now();

    auto forward = [&](Direction& direction, int socket, const sockaddr_in& to, const char* data,
                       ssize_t size) {
        ++direction.received;
        if (percent(random) < options.loss) {
            return;
        }
        const auto delay = std::chrono::milliseconds(options.delay_ms + jitter(random));
        queue.push(
            {Clock::now() + delay, order++, socket, to, std::vector<char>(data, data + size)});
    };

    std::vector<char> buffer(65536);
    while (!g_stop) {
        std::vector<pollfd> fds{{listener, POLLIN, 0}};
        for (const auto& [key, fd] : upstream) {
            fds.push_back({fd, POLLIN, 0});
        }
        if (counts && Clock::now() >= next_count) {
            const long long ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                                     Clock::now().time_since_epoch())
                                     .count();
            std::fprintf(counts, "%lld %llu %llu %llu %llu\n", ms, (unsigned long long)up.sent,
                         (unsigned long long)up.bytes, (unsigned long long)down.sent,
                         (unsigned long long)down.bytes);
            std::fflush(counts);
            next_count += std::chrono::seconds(1);
        }
        auto wake = counts ? next_count : Clock::time_point::max();
        if (!queue.empty()) {
            wake = std::min(wake, queue.top().due);
        }
        int timeout = -1;
        if (wake != Clock::time_point::max()) {
            const auto wait =
                std::chrono::duration_cast<std::chrono::milliseconds>(wake - Clock::now());
            timeout = int(std::max<long long>(0, wait.count() + 1));
        }
        if (::poll(fds.data(), fds.size(), timeout) < 0 && errno != EINTR) {
            std::perror("lossy-relay: poll");
            return 1;
        }
        for (const pollfd& ready : fds) {
            if (!(ready.revents & POLLIN)) {
                continue;
            }
            sockaddr_in from{};
            socklen_t length = sizeof from;
            ssize_t size;
            while ((size = ::recvfrom(ready.fd, buffer.data(), buffer.size(), 0,
                                      reinterpret_cast<sockaddr*>(&from), &length)) >= 0) {
                if (ready.fd == listener) {
                    const std::uint64_t key =
                        (std::uint64_t(from.sin_addr.s_addr) << 16) | from.sin_port;
                    auto found = upstream.find(key);
                    if (found == upstream.end()) {
                        const int fd = BoundSocket(0);
                        if (fd < 0) {
                            break;
                        }
                        found = upstream.emplace(key, fd).first;
                        client_of[fd] = from;
                    }
                    forward(up, found->second, host, buffer.data(), size);
                } else if (from.sin_port == host.sin_port &&
                           from.sin_addr.s_addr == host.sin_addr.s_addr) {
                    forward(down, listener, client_of[ready.fd], buffer.data(), size);
                }
                length = sizeof from;
            }
        }
        const auto now = Clock::now();
        while (!queue.empty() && queue.top().due <= now) {
            const Pending& next = queue.top();
            if (::sendto(next.socket, next.data.data(), next.data.size(), 0,
                         reinterpret_cast<const sockaddr*>(&next.to), sizeof next.to) >= 0) {
                Direction& direction = next.socket == listener ? down : up;
                ++direction.sent;
                direction.bytes += next.data.size();
            }
            queue.pop();
        }
    }
    std::printf("up %llu/%llu datagrams %llu bytes, down %llu/%llu datagrams %llu bytes\n",
                (unsigned long long)up.sent, (unsigned long long)up.received,
                (unsigned long long)up.bytes, (unsigned long long)down.sent,
                (unsigned long long)down.received, (unsigned long long)down.bytes);
    return 0;
}
