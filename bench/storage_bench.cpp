// What keeping and searching a thousand devices costs: the longest stall of a save, the price of a
// typed letter.
#include "bench_main.h"
#include "gui/device_list_view.h"
#include "model/device_state.h"
#include "model/json_path.h"
#include "model/saved_file.h"

#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLineEdit>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int DEVICES = 1000;

QJsonObject report_of(int number, int round)
{
    QJsonObject report = dummy_report({static_cast<quint32>(number), 0, 0, 0});
    report.insert("product_id", 3 + number % 7);
    json_set_path(report, {"ui", "name"}, QString("Speaker %1").arg(number));
    json_set_path(report, {"ui", "loc"}, QString("Hall %1").arg(number % 12));
    json_set_path(report, {"ui", "memo"}, QString("round %1").arg(round));
    json_set_path(report, {"dsp", "level"}, round % 20);
    QJsonArray sessions;
    for (int i = 0; i < 12; ++i)
        sessions.append(QJsonObject{
            {"n", QString("Session %1").arg(i)}, {"i", "Console"}, {"c", 2 + (i + round) % 8}});
    json_set_path(report, {"streams", "list"}, sessions);
    return report;
}

void change_all(WindowHandle &gui, int round)
{
    int number = 0;
    for (const auto &[id, device] : gui.all_devices())
        device->last_report = report_of(number++, round);
}

QByteArray plain_text(const WindowHandle &gui)
{
    QJsonArray elements;
    for (const auto &[id, device] : gui.all_devices())
        elements.append(QJsonObject{{"ip", device->address.toString()},
                                    {"data", device->last_report.object()}});
    return QJsonDocument(QJsonObject{{"devices", elements}}).toJson();
}

void bench_save(WindowHandle &gui)
{
    std::printf("report %d bytes, cache %.2f MB\n",
                QJsonDocument(report_of(1, 1)).toJson(QJsonDocument::Compact).size(),
                plain_text(gui).size() / 1e6);
    const double anew = cpu_microseconds(5, [&gui] { plain_text(gui); }) / 1e3;
    for (const bool is_changing : {true, false}) {
        double worst_cpu = 0;
        double total = 0;
        int slices = 0;
        for (int round = 0; round < 20; ++round) {
            if (is_changing)
                change_all(gui, round);
            gui.cache().begin_slices();
            while (gui.cache().is_saving()) {
                const double cpu
                    = cpu_microseconds(1, [&gui] { gui.cache().continue_slices(); }) / 1e3;
                worst_cpu = std::max(worst_cpu, cpu);
                total += cpu;
                ++slices;
            }
        }
        std::printf("%s: %.1f slices\n", is_changing ? "all changed" : "unchanged", slices / 20.0);
        at_most_times("a save in slices", total / 20, "ms", anew, "all text built anew",
                      is_changing ? 1.8 : 0.5);
        at_most("its longest slice", worst_cpu, "ms", 16);
    }
    change_all(gui, 77);
    std::printf("all changed, written at once\n");
    at_most_times("a save", cpu_microseconds(1, [&gui] { gui.cache().save(); }) / 1e3, "ms", anew,
                  "all text built anew", 1.8);
    must_hold("the cache holds the same bytes",
              read_saved_file(gui.cache().path()).value() == plain_text(gui));
}

void bench_write(const QString &path)
{
    for (const int megabytes : {4, 8}) {
        const QByteArray text(megabytes * 1000000, 'x');
        QFile::remove(path);
        const double fresh
            = cpu_microseconds(1, [&path, &text] { replace_saved_file(path, text); });
        const double over
            = cpu_microseconds(10, [&path, &text] { replace_saved_file(path, text); });
        std::printf("%d MB written\n", megabytes);
        at_most("to a fresh file", fresh / 1e3, "ms", 16);
        at_most("over an old text", over / 1e3, "ms", 16);
    }
}

// Rows that change their state are the view's own cost.
void bench_hiding(WindowHandle &gui)
{
    double hide = 0;
    double show = 0;
    for (int round = 0; round < 10; ++round) {
        for (const bool is_hidden : {true, false}) {
            (is_hidden ? hide : show) += cpu_microseconds(1, [&gui, is_hidden] {
                for (int row = 0; row < gui.model().rowCount(); ++row)
                    gui.view()->setRowHidden(row, QModelIndex(), is_hidden);
            });
            QApplication::processEvents();
        }
    }
    std::printf("the view's own cost\n");
    tell("hiding all rows", hide / 10, "us");
    tell("showing them", show / 10, "us");
}

// One look at each visible cell's text.
int bare_loop(const std::vector<QString> &texts, const QString &search)
{
    int hits = 0;
    for (const QString &text : texts)
        hits += text.indexOf(search, 0, Qt::CaseInsensitive) >= 0;
    return hits;
}

// A letter is typed after the window has painted, when the texts have left the fast caches: both
// sides are measured that way, and once more straight after.
void bench_word(WindowHandle &gui, const std::vector<QString> &texts, const QString &search)
{
    constexpr int rounds = 20;
    QLineEdit *box = gui.search_box()->lineEdit();
    int hits = 0;
    double cold = 0;
    double typed = 0;
    double painted = 0;
    for (int round = 0; round < rounds; ++round) {
        box->clear();
        QApplication::processEvents();
        cold += cpu_microseconds(1, [&hits, &texts, &search] { hits = bare_loop(texts, search); });
        gui.view()->viewport()->repaint();
        QApplication::processEvents();
        typed += cpu_microseconds(1, [box, &search] { box->setText(search); });
        painted += cpu_microseconds(1, [] { QApplication::processEvents(); });
    }
    const double warm
        = cpu_microseconds(50, [&hits, &texts, &search] { hits = bare_loop(texts, search); });
    const double again = cpu_microseconds(50, [&gui] { gui.refresh_search(); });
    std::printf("'%s' in %d cells\n", qPrintable(search), hits);
    at_most_times("typed", typed / rounds, "us", cold / rounds, "a bare loop over the texts", 6);
    at_most_times("searched once more", again, "us", warm, "the same loop, warm", 8);
    at_most("painting and layout", painted / rounds / 1e3, "ms", 16);
}

void bench_search(WindowHandle &gui)
{
    std::vector<QString> texts;
    const std::vector<int> columns = gui.shown_columns();
    for (int row = 0; row < gui.model().rowCount(); ++row)
        for (const int column : columns)
            texts.push_back(gui.model().item(row, column)->text());
    double plain = 0;
    {
        const QSignalBlocker blocker(gui.search_box());
        plain = cpu_microseconds(50, [&gui] {
            gui.search_box()->lineEdit()->setText("q");
            gui.search_box()->lineEdit()->clear();
        });
    }
    std::printf("a letter in the search box\n");
    tell("the box alone", plain / 2, "us");
    for (const char *search : {"q", "zz", "speaker", "5", "hall 7"})
        bench_word(gui, texts, search);
    gui.search_box()->lineEdit()->clear();
}

void bench_all()
{
    const QTemporaryDir folder;
    {
        const std::unique_ptr<WindowHandle> gui = make_bench_window(folder.path());
        gui->show();
        gui->begin_batch();
        for (int number = 0; number < DEVICES; ++number)
            gui->report(QHostAddress(0x0A000001 + static_cast<quint32>(number)),
                        report_of(number, 0), false, QString());
        gui->end_batch();
        gui->cache().stop();
        gui->meter_timer().stop();
        gui->discovery_timer().stop();
        QApplication::processEvents();
        bench_save(*gui);
        bench_write(folder.filePath("write"));
        bench_hiding(*gui);
        bench_search(*gui);
    }
    std::printf("start\n");
    tell("with these devices in the cache", cpu_microseconds(1, [] { WindowHandle gui; }) / 1e3,
         "ms");
}

} // namespace

int main(int argc, char **argv)
{
    return bench_main(argc, argv, [](bool, const QStringList &) { bench_all(); });
}
