// How the program is while it runs.
#include "soak/vital_signs.h"

#include "tests/support/sanitized.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPixmapCache>

#include <ctime>
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

// The sanitizers' allocator tells by a function of its own.
#ifdef ADDRESS_SANITIZED
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace {

constexpr int BEAT = 5; // ms
constexpr double MEBIBYTE = 1024.0 * 1024.0;

double thread_cpu_ms()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

// ms for which the thread was ready and other programs had the processor; 0 where the system does
// not say.
double thread_queued_ms()
{
    QFile file("/proc/thread-self/schedstat");
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toDouble() / 1e6;
}

struct KernelShare
{
    double ms = 0;
    long faults = 0;
};

// What the kernel did for the thread: work that takes long without being the window's own.
KernelShare kernel_share()
{
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    const auto seconds = static_cast<double>(usage.ru_stime.tv_sec);
    return {.ms = seconds * 1e3 + static_cast<double>(usage.ru_stime.tv_usec) / 1e3,
            .faults = usage.ru_minflt + usage.ru_majflt};
}

} // namespace

void StallWatch::start()
{
    connect(&beat, &QTimer::timeout, this, &StallWatch::on_beat, Qt::UniqueConnection);
    beat.setTimerType(Qt::PreciseTimer);
    since_beat.start();
    cpu_at_beat = thread_cpu_ms();
    queued_at_beat = thread_queued_ms();
    const KernelShare share = kernel_share();
    kernel_at_beat = share.ms;
    faults_at_beat = share.faults;
    beat.start(BEAT);
}

void StallWatch::stop()
{
    beat.stop();
}

void StallWatch::on_beat()
{
    const double wall = static_cast<double>(since_beat.nsecsElapsed()) / 1e6;
    const double cpu = thread_cpu_ms() - cpu_at_beat;
    since_beat.start();
    cpu_at_beat += cpu;
    const double queued = thread_queued_ms() - queued_at_beat;
    queued_at_beat += queued;
    const KernelShare share = kernel_share();
    const Stall stall{.wall = wall,
                      .cpu = cpu,
                      .waited = wall - cpu - queued,
                      .kernel = share.ms - kernel_at_beat,
                      .faults = share.faults - faults_at_beat,
                      .after = last_deed};
    kernel_at_beat = share.ms;
    faults_at_beat = share.faults;
    const auto keep = [&stall](Stall &longest, double Stall::*part) {
        if (stall.*part > longest.*part)
            longest = stall;
    };
    keep(longest_wall, &Stall::wall);
    keep(longest_cpu, &Stall::cpu);
    keep(longest_work[last_deed], &Stall::cpu);
    keep(longest_wait, &Stall::waited);
    waits += stall.waited > SHORT_WAIT + BEAT;
    for (size_t i = 0; i < LIMITS.size(); ++i)
        over_limit[i] += cpu > LIMITS[i];
}

namespace {

// Sockets and the like have a number, which is never the same again.
QStringList open_files()
{
    QStringList files;
    for (const QString &number : QDir("/proc/self/fd").entryList(QDir::AllEntries | QDir::System)) {
        const QString path = QFileInfo("/proc/self/fd/" + number).symLinkTarget();
        const QString name = path.section('/', -1).section(":[", 0, 0);
        if (!name.isEmpty())
            files.append(name);
    }
    files.sort();
    return files;
}

} // namespace

Holdings holdings()
{
#ifdef ADDRESS_SANITIZED
    const auto handed_out = static_cast<double>(__sanitizer_get_current_allocated_bytes());
#else
    const struct mallinfo2 heap = mallinfo2();
    const auto handed_out = static_cast<double>(heap.uordblks + heap.hblkhd);
#endif
    QFile file("/proc/self/statm");
    const QList<QByteArray> pages
        = file.open(QIODevice::ReadOnly) ? file.readAll().split(' ') : QList<QByteArray>();
    const auto page_size = static_cast<double>(sysconf(_SC_PAGESIZE));
    return {.resident = pages.value(1).toDouble() * page_size / MEBIBYTE,
            .heap = handed_out / MEBIBYTE,
            .files = open_files(),
            .widgets = QApplication::allWidgets().size()};
}

Holdings tidy_holdings()
{
    QPixmapCache::clear();
    malloc_trim(0);
    return holdings();
}
