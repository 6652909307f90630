// Speed of uploads: one transfer beside a plain C loop and the tftp-hpa client, then a whole fleet.
// Runs in a network of its own. Usage: tftp_bench [--short | ROUNDS]
#include "firmware/tftp_uploader.h"
#include "limit.h"
#include "measure.h"
#include "support/private_network.h"
#include "support/socket_address.h"

#include <QCoreApplication>

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <limits>
#include <memory>
#include <netinet/in.h>
#include <poll.h>
#include <sched.h>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int SMALL_FILE = 926841;
constexpr int LARGE_FILE = 33553919; // 65,535 blocks: the most that can be acknowledged
constexpr int NO_BYTES = 0;
constexpr int FLEET = 100;
constexpr uint32_t FIRST_DEVICE = 0x7F000101; // 127.0.1.1

double wall_seconds()
{
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

int blocks_of(int size)
{
    return size / 512 + 1;
}

void pin_to_core(int core)
{
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(static_cast<size_t>(core), &cores);
    sched_setaffinity(0, sizeof cores, &cores);
}

int open_socket(uint32_t host, uint16_t port)
{
    const int handle = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int yes = 1;
    setsockopt(handle, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    const sockaddr_in local = socket_address(host, port);
    if (bind(handle, reinterpret_cast<const sockaddr *>(&local), sizeof local) != 0)
        std::perror("bind");
    return handle;
}

// Answers one datagram as a device would: every request and every block is acknowledged.
void answer(int handle, int delay_microseconds)
{
    unsigned char packet[600];
    sockaddr_in peer{};
    socklen_t length = sizeof peer;
    auto *const address = reinterpret_cast<sockaddr *>(&peer);
    const ssize_t size = recvfrom(handle, packet, sizeof packet, 0, address, &length);
    if (size < 4)
        return;
    if (delay_microseconds > 0)
        usleep(static_cast<useconds_t>(delay_microseconds));
    const bool is_data = packet[1] == 3;
    const unsigned char ack[4]
        = {0, 4, is_data ? packet[2] : uint8_t{0}, is_data ? packet[3] : uint8_t{0}};
    sendto(handle, ack, sizeof ack, 0, address, length);
}

[[noreturn]] void serve(int devices, int core, int delay_microseconds)
{
    pin_to_core(core);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    prctl(PR_SET_TIMERSLACK, 1);
    std::vector<pollfd> handles;
    for (int i = 0; i < devices; ++i)
        handles.push_back({open_socket(FIRST_DEVICE + static_cast<uint32_t>(i), 69), POLLIN, 0});
    while (devices == 1)
        answer(handles[0].fd, delay_microseconds);
    while (poll(handles.data(), handles.size(), -1) >= 0)
        for (const pollfd &one : handles)
            if (one.revents & POLLIN)
                answer(one.fd, delay_microseconds);
    _exit(0);
}

// What a child tells its parent.
struct Told
{
    double seconds = -1; // negative on failure
    int misses = 0;      // of limits
};

// Runs `work` in a process of its own on the given core; its result in seconds, negative on
// failure.
double in_child(int core, const std::function<double()> &work)
{
    int ends[2];
    if (pipe(ends) != 0)
        return -1;
    const pid_t child = fork();
    if (child == 0) {
        pin_to_core(core);
        bench_misses = 0;
        const Told told{.seconds = work(), .misses = bench_misses};
        const bool is_told = write(ends[1], &told, sizeof told) == sizeof told;
        _exit(is_told ? 0 : 1);
    }
    close(ends[1]);
    Told told;
    if (read(ends[0], &told, sizeof told) != sizeof told)
        told = {};
    close(ends[0]);
    waitpid(child, nullptr, 0);
    bench_misses += told.misses;
    return told.seconds;
}

double with_server(int devices, int core, int delay_microseconds,
                   const std::function<double()> &work)
{
    const pid_t server = fork();
    if (server == 0)
        serve(devices, core, delay_microseconds);
    usleep(20000); // until it has bound its ports; a lost request would cost 500 ms
    const double result = work();
    kill(server, SIGKILL);
    waitpid(server, nullptr, 0);
    return result;
}

double upload_with_plain_loop(int size)
{
    const int handle = open_socket(INADDR_ANY, 69);
    const sockaddr_in device = socket_address(FIRST_DEVICE, 69);
    const std::vector<char> data(static_cast<size_t>(size), 'x');
    const double start = wall_seconds();
    for (int block = 0; block <= blocks_of(size); ++block) {
        char packet[516] = {0, 3, static_cast<char>(block >> 8), static_cast<char>(block)};
        size_t length = 4;
        if (block == 0) {
            std::memcpy(packet, "\0\2x\0octet", length = 10);
        } else {
            const size_t offset = static_cast<size_t>(block - 1) * 512;
            const size_t count = std::min<size_t>(512, data.size() - offset);
            std::memcpy(packet + 4, data.data() + offset, count);
            length += count;
        }
        sendto(handle, packet, length, 0, reinterpret_cast<const sockaddr *>(&device),
               sizeof device);
        unsigned char reply[516];
        if (recv(handle, reply, sizeof reply, 0) != 4)
            return -1;
    }
    return wall_seconds() - start;
}

// With the time that its process takes to start and to end.
double upload_with_tftp_hpa(const std::string &file)
{
    const double start = wall_seconds();
    const pid_t child = fork();
    if (child == 0) {
        const int nowhere = open("/dev/null", O_RDWR);
        dup2(nowhere, STDOUT_FILENO);
        execlp("tftp", "tftp", "-m", "octet", "127.0.1.1", "-c", "put", file.c_str(), "x", nullptr);
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status == 0 ? wall_seconds() - start : -1;
}

struct Stall
{
    double last_turn = cpu_seconds();
    double longest = 0; // CPU seconds between two turns of a timer of 1 ms

    void turn()
    {
        const double now = cpu_seconds();
        longest = std::max(longest, now - last_turn);
        last_turn = now;
    }
};

// Seconds until all transfers are done; negative when one fails.
double upload_with_qt(int devices, int size, bool is_verbose)
{
    int argument_count = 1;
    char name[] = "tftp_bench";
    char *arguments[] = {name, nullptr};
    QCoreApplication application(argument_count, arguments);
    const QByteArray data(size, 'x');
    std::vector<std::unique_ptr<QTFTPFileUploader>> uploaders;
    int running = devices;
    bool is_good = true;
    for (int i = 0; i < devices; ++i) {
        const QHostAddress address(FIRST_DEVICE + static_cast<uint32_t>(i));
        auto *const uploader = new QTFTPFileUploader(1, address, data, "firmware.bin");
        uploaders.emplace_back(uploader);
        QObject::connect(uploader, &QTFTPFileUploader::done, &application,
                         [&running, &is_good](bool success) {
                             is_good = is_good && success;
                             if (--running == 0)
                                 QCoreApplication::quit();
                         });
    }
    Stall stall;
    QTimer turns;
    turns.setTimerType(Qt::PreciseTimer);
    QObject::connect(&turns, &QTimer::timeout, &application, [&stall] { stall.turn(); });
    if (is_verbose)
        turns.start(1);
    const double start = wall_seconds();
    const double cpu_start = cpu_seconds();
    for (const auto &uploader : uploaders)
        uploader->start();
    QCoreApplication::exec();
    const double seconds = wall_seconds() - start;
    if (is_verbose) {
        tell("cores of CPU", (cpu_seconds() - cpu_start) / seconds, "");
        at_most("longest stall of the event loop, of CPU time", stall.longest * 1e3, "ms", 50);
    }
    return is_good ? seconds : -1;
}

std::string make_file(int size)
{
    std::string name = "/tmp/tftp_bench_XXXXXX";
    const int handle = mkstemp(name.data());
    const std::string content(static_cast<size_t>(size), 'x');
    if (write(handle, content.data(), content.size()) != static_cast<ssize_t>(content.size()))
        std::perror("write");
    close(handle);
    return name;
}

struct Contender
{
    const char *name;
    int size;
    std::function<double()> run;
    double seconds = std::numeric_limits<double>::infinity(); // of its quickest round

    double rate() const { return blocks_of(size) / seconds; }
};

// Files for the client of tftp-hpa, gone at the end.
struct Files
{
    std::string large = make_file(LARGE_FILE);
    std::string small = make_file(SMALL_FILE);
    std::string empty = make_file(NO_BYTES);

    Files() = default;
    ~Files()
    {
        for (const std::string &name : {large, small, empty})
            unlink(name.c_str());
    }
    Files(const Files &) = delete;
    Files &operator=(const Files &) = delete;
};

// Client and server share core 0, the contenders take turns. The client of tftp-hpa is a process of
// its own: what it takes for an empty file is its start and its end, and not counted.
void compare_single(int rounds)
{
    const Files files;
    const auto by_tftp_hpa
        = [](const std::string &file) { return [file] { return upload_with_tftp_hpa(file); }; };
    const auto by_uploader
        = [](int size) { return [size] { return upload_with_qt(1, size, false); }; };
    Contender plain{"plain C loop, 33 MB", LARGE_FILE,
                    [] { return upload_with_plain_loop(LARGE_FILE); }};
    Contender large_hpa{"tftp-hpa, 33 MB", LARGE_FILE, by_tftp_hpa(files.large)};
    Contender large{"uploader, 33 MB", LARGE_FILE, by_uploader(LARGE_FILE)};
    Contender empty_hpa{"tftp-hpa, no bytes", NO_BYTES, by_tftp_hpa(files.empty)};
    Contender small_hpa{"tftp-hpa, 926,841 bytes", SMALL_FILE, by_tftp_hpa(files.small)};
    Contender small{"uploader, 926,841 bytes", SMALL_FILE, by_uploader(SMALL_FILE)};
    bool is_good = true;
    for (int round = 0; round < rounds; ++round)
        for (Contender *one : {&plain, &large_hpa, &large, &empty_hpa, &small_hpa, &small})
            for (int i = 0; i < (one->size == LARGE_FILE ? 1 : 5); ++i) {
                const double taken = with_server(1, 0, 0, [one] { return in_child(0, one->run); });
                is_good = is_good && taken > 0;
                one->seconds = std::min(one->seconds, taken);
            }
    std::printf("One transfer, client and server on one core, the quickest of %d\n", rounds);
    must_hold("all succeed, those of tftp-hpa too", is_good);
    if (!is_good)
        return;
    for (const Contender *one : {&plain, &large_hpa, &large, &small})
        tell(one->name, one->rate(), "blocks/s");
    tell("start and end of tftp-hpa", empty_hpa.seconds * 1e3, "ms");
    at_least("926,841 bytes, of the rate of tftp-hpa",
             (small_hpa.seconds - empty_hpa.seconds) / small.seconds, "x", 1);
    tell("33 MB, of the rate of tftp-hpa", large.rate() / large_hpa.rate(), "x");
}

// The quickest of some rounds, in turns: one alone says more about the machine.
void compare_slow_devices(int rounds)
{
    for (int milliseconds : {1, 5}) {
        double plain = std::numeric_limits<double>::infinity(); // seconds
        double ours = plain;
        bool is_good = true;
        const auto run = [milliseconds, &is_good](double &quickest, const auto &upload) {
            const double taken
                = with_server(1, 0, milliseconds * 1000, [&upload] { return in_child(0, upload); });
            is_good = is_good && taken > 0;
            quickest = std::min(quickest, taken);
        };
        for (int round = 0; round < rounds; ++round) {
            run(plain, [] { return upload_with_plain_loop(SMALL_FILE); });
            run(ours, [] { return upload_with_qt(1, SMALL_FILE, false); });
        }
        std::printf("One transfer of 926,841 bytes to a device that takes %d ms for each block\n",
                    milliseconds);
        must_hold("all succeed", is_good);
        char beside[96];
        std::snprintf(beside, sizeof beside, " (%.2f s against %.2f)", ours, plain);
        at_least("of the rate of the plain loop", plain / ours, "x", 0.98, beside);
    }
}

void measure_fleet()
{
    std::printf("%d transfers of 926,841 bytes at once, server on another core\n", FLEET);
    const double seconds = with_server(FLEET, 1, 0, [] {
        return in_child(0, [] { return upload_with_qt(FLEET, SMALL_FILE, true); });
    });
    must_hold("all succeed", seconds > 0);
    tell("blocks acknowledged", FLEET * blocks_of(SMALL_FILE) / seconds, "a second");
}

} // namespace

// No bench_main: it forks its devices, and the toolkit's application would go along.
int main(int argument_count, char **arguments)
{
    const bool is_short = is_short_run(argument_count, arguments);
    std::setvbuf(stdout, nullptr, _IOLBF, 0); // what is printed must not be printed by children too
    std::string reason;
    if (!enter_private_network(&reason)) {
        std::fprintf(stderr, "no private network: %s\n", reason.c_str());
        return 1;
    }
    const int rounds = argument_count > 1 ? std::max(1, std::atoi(arguments[1])) : 5;
    compare_single(is_short ? 1 : rounds);
    compare_slow_devices(is_short ? 1 : std::min(rounds, 3));
    measure_fleet();
    return bench_result();
}
