// How the program is while it runs.
#include "soak/vital_signs.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPixmapCache>

#include <ctime>
#include <malloc.h>
#include <unistd.h>

namespace {

constexpr int BEAT = 5; // ms
constexpr double MEBIBYTE = 1024.0 * 1024.0;

double thread_cpu_ms()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

} // namespace

void StallWatch::start()
{
    connect(&beat, &QTimer::timeout, this, &StallWatch::on_beat, Qt::UniqueConnection);
    beat.setTimerType(Qt::PreciseTimer);
    since_beat.start();
    cpu_at_beat = thread_cpu_ms();
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
    const Stall stall{.wall = wall, .cpu = cpu, .after = last_deed};
    if (wall > longest_wall.wall)
        longest_wall = stall;
    if (cpu > longest_cpu.cpu)
        longest_cpu = stall;
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
    QFile file("/proc/self/statm");
    const QList<QByteArray> pages
        = file.open(QIODevice::ReadOnly) ? file.readAll().split(' ') : QList<QByteArray>();
    const auto page_size = static_cast<double>(sysconf(_SC_PAGESIZE));
    const struct mallinfo2 heap = mallinfo2();
    return {.resident = pages.value(1).toDouble() * page_size / MEBIBYTE,
            .heap = static_cast<double>(heap.uordblks + heap.hblkhd) / MEBIBYTE,
            .files = open_files(),
            .widgets = QApplication::allWidgets().size()};
}

Holdings tidy_holdings()
{
    QPixmapCache::clear();
    malloc_trim(0);
    return holdings();
}
