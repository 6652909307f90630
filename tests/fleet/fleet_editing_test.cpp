// Editing in the real window while a fleet of simulated loudspeakers goes on reporting.
#include "gui/modified_combo_box.h"
#include "link/datagram.h"
#include "support/fleet_window.h"
#include "support/meant_text.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QToolButton>
#include <QWindow>

#include <algorithm>
#include <random>
#include <vector>

namespace {

constexpr int DEVICES = 360;     // at least 200 of them report at any time
constexpr int LATE_DEVICES = 20; // the last ones join while the operator is busy
constexpr int EDITED = 5;        // the simulator's number of the device being edited

// How long the operator is busy: a few seconds, unless TYPING_SECONDS asks for more.
int busy_time()
{
    const int seconds = qEnvironmentVariableIntValue("TYPING_SECONDS");
    return (seconds > 0 ? seconds : 4) * 1000;
}

QJsonArray numbers(int first, int end)
{
    QJsonArray list;
    for (int i = first; i < end; ++i)
        list.append(i);
    return list;
}

QJsonObject kind(const QString &product, int count)
{
    return {{"product", product}, {"name", product + " %1"}, {"count", count}};
}

// Of a device by its number, before it is told anything: 2, 4 or 5. Odd ones are mute.
int level_of(int number)
{
    return number % 3 == 0 ? 2 : 3 + number % 3;
}

// What such a device is told when all shall have level 4, and be mute.
QJsonArray expected_commands(int number, bool with_mute)
{
    QJsonObject dsp;
    if (level_of(number) != 4)
        dsp.insert("level", 4);
    if (with_mute && number % 2 == 0)
        dsp.insert("mute", true);
    if (dsp.isEmpty())
        return {};
    QJsonArray commands;
    commands.append(QJsonObject{
        {"api_version", API_VERSION}, {"command", "set_params"}, {"dsp", dsp}, {"seq", 1}});
    return commands;
}

// What must not move by itself, as numbers that are compared.
struct Places
{
    QList<int> values = {};

    explicit Places(const WindowHandle &gui)
    {
        for (const QAbstractScrollArea *area :
             {static_cast<QAbstractScrollArea *>(gui.property_scroll()),
              static_cast<QAbstractScrollArea *>(gui.view())})
            values += {area->verticalScrollBar()->value(), area->horizontalScrollBar()->value()};
    }
};

} // namespace

class FleetEditingTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<SimulatedFleet> fleet;
    std::unique_ptr<FleetWindow> window;
    std::mt19937 random;
    int changes = 0; // so often the fleet has been stirred

    WindowHandle &gui() { return *window->gui; }
    PanelRow row(const std::string &key) { return gui().row(key); }
    int any(int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }

    void key(int code, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        // To whatever has the focus, as a keyboard's.
        QTest::keyClick(gui().widget().windowHandle(), static_cast<Qt::Key>(code), modifiers);
    }

    void start_fleet(const QJsonArray &kinds, const QStringList &options = {})
    {
        const QTemporaryDir folder;
        QFile file(folder.filePath("fleet.json"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QJsonDocument(QJsonObject{{"devices", kinds}}).toJson());
        file.close();
        fleet = std::make_unique<SimulatedFleet>(QStringList{"--fleet", file.fileName()} + options);
    }

    // Loudspeakers and modules that are in service: a new one would bring its assistant up.
    void start_mixed_fleet()
    {
        start_fleet({kind("Y6", 140), kind("TSub1802", 110), kind("KV8130", 60), kind("Y8", 50)},
                    {"--reports-change", "30", "--reboot-time", "700"});
        QCOMPARE(fleet->count, DEVICES);
    }

    // A window that has found all devices but those that come late.
    void find_devices()
    {
        fleet->fault(numbers(DEVICES - LATE_DEVICES, DEVICES), "silent");
        window = std::make_unique<FleetWindow>(*fleet);
        QVERIFY(QTest::qWaitForWindowActive(&gui().widget()));
        QTRY_COMPARE_WITH_TIMEOUT(window->online_count(), DEVICES - LATE_DEVICES, 20000);
        QCOMPARE(gui().model().rowCount(), DEVICES - LATE_DEVICES);
    }

    void click_row(Device *device)
    {
        const QModelIndex index = gui().model().index(gui().row_of(device), 0);
        gui().view()->scrollTo(index);
        QTest::mouseClick(gui().view()->viewport(), Qt::LeftButton, {},
                          gui().view()->visualRect(index).center());
    }

    // One device selected, in edit mode; both scroll bars stand somewhere.
    void start_edit()
    {
        click_row(window->device(EDITED));
        QCoreApplication::processEvents();
        QTest::mouseClick(gui().edit_button(), Qt::LeftButton);
        gui().property_scroll()->verticalScrollBar()->setValue(15);
        gui().view()->verticalScrollBar()->setValue(60);
        QCoreApplication::processEvents();
        QCOMPARE(gui().property_scroll()->verticalScrollBar()->value(), 15);
        QCOMPARE(gui().view()->verticalScrollBar()->value(), 60);
    }

    // What happens to a fleet within half a second: devices leave, come back, join, restart and
    // are changed by hand; the one being edited too, which for a while is not there at all.
    void stir_fleet()
    {
        ++changes;
        const auto slice = [this](int step) {
            const int first = 20 + (changes + step) % 16 * 20;
            return numbers(first, first + 20);
        };
        fleet->fault(slice(0), "silent");
        fleet->fault(slice(9), "return"); // silent since seven rounds
        fleet->fault(DEVICES - 1 - changes % LATE_DEVICES, "return");
        fleet->fault(6 + changes % 10, "reboot");
        fleet->fault(any(DEVICES), "set",
                     {{"state",
                       QJsonObject{{"ui", QJsonObject{{"order", any(9) - 4}}},
                                   {"product_id", any(2) ? 11 : 3}}}});
        fleet->fault(EDITED, changes % 12 < 6 ? "return" : "silent");
        fleet->fault(
            EDITED, "set",
            {{"state",
              QJsonObject{{"ui", QJsonObject{{"name", QString("by hand %1").arg(changes)}}},
                          {"dsp", QJsonObject{{"level", changes % 7}}},
                          {"streams", QJsonObject{{"list", sessions()}}}}}});
    }

    QJsonArray sessions() const
    {
        QJsonArray list;
        for (int i = 0; i < changes % 4; ++i)
            list.append(QJsonObject{{"n", QString("Session %1").arg(i)}, {"i", "i"}, {"c", 2}});
        return list;
    }

    // Calls `act` every `pace` ms, and the fleet's changes every half second, while busy.
    template<typename Act>
    void keep_busy(int pace, Act act)
    {
        QElapsedTimer elapsed;
        elapsed.start();
        const qint64 reports = count("reports_sent");
        changes = 0;
        int fewest = DEVICES;
        for (qint64 next = 0; elapsed.elapsed() < busy_time(); next += pace) {
            QVERIFY(runs_until([&elapsed, next] { return elapsed.elapsed() >= next; }));
            if (elapsed.elapsed() >= 500LL * changes)
                stir_fleet();
            fewest = qMin(fewest, window->online_count());
            act();
            if (QTest::currentTestFailed())
                return;
        }
        const qint64 reported = count("reports_sent") - reports;
        qInfo("%lld reports within %lld ms; %d changes, %d rows, %d online at least", reported,
              elapsed.elapsed(), changes, gui().model().rowCount(), fewest);
        QVERIFY(reported > 200LL * elapsed.elapsed() / 1000);
        QVERIFY(gui().model().rowCount() > DEVICES - LATE_DEVICES);
        QVERIFY(fewest < DEVICES - LATE_DEVICES - 20);
    }

    qint64 count(const char *what)
    {
        qint64 sum = 0;
        for (const QJsonValue &device : fleet->stats())
            sum += device.toObject().value(what).toInt();
        return sum;
    }

    // The device's newest values wait for the end of the edit, and Cancel shows them.
    void expect_newest_values_at_cancel()
    {
        fleet->fault(EDITED, "return");
        fleet->fault(EDITED, "set",
                     {{"state",
                       QJsonObject{{"ui", QJsonObject{{"name", "newest"}}},
                                   {"dsp", QJsonObject{{"level", 6}}}}}});
        QTRY_COMPARE_WITH_TIMEOUT(reported_name(), QString("newest"), 5000);
        QVERIFY(gui().is_editing());
        QVERIFY(row("ui/name").line_edit->text() != "newest");
        QTest::mouseClick(gui().cancel_button(), Qt::LeftButton);
        QVERIFY(!gui().is_editing());
        QCOMPARE(row("ui/name").line_edit->text(), QString("newest"));
        QCOMPARE(row("dsp/level").value, QVariant(6));
        QCOMPARE(row("dsp/level").combo->currentText(), QString("+6 dB"));
    }

    QString reported_name()
    {
        const QJsonObject report = window->device(EDITED)->last_report;
        return report.value("ui").toObject().value("name").toString();
    }

    // A field that nobody has typed in yet holds still as well.
    void expect_reports_to_be_held_back(const QLineEdit *name)
    {
        const QString text = name->text();
        key(Qt::Key_End);
        key(Qt::Key_Left, Qt::ShiftModifier);
        const QString selected = name->selectedText();
        QCOMPARE(selected.size(), 1);
        fleet->fault(EDITED, "set",
                     {{"state", QJsonObject{{"ui", QJsonObject{{"name", "meanwhile"}}}}}});
        QTRY_COMPARE_WITH_TIMEOUT(reported_name(), QString("meanwhile"), 5000);
        QCOMPARE(name->text(), text);
        QCOMPARE(name->selectedText(), selected);
        QVERIFY(name->hasFocus());
    }

    // A key that an operator might press next.
    std::pair<int, Qt::KeyboardModifiers> next_key(const MeantText &meant)
    {
        if (meant.text.size() > 60)
            return {Qt::Key_Backspace, Qt::NoModifier};
        switch (any(12)) {
        case 0:
            return {Qt::Key_Backspace, Qt::NoModifier};
        case 1:
            return {Qt::Key_Delete, Qt::NoModifier};
        case 2:
        case 3:
            return {Qt::Key_Left, Qt::NoModifier};
        case 4:
        case 5:
            return {Qt::Key_Left, Qt::ShiftModifier};
        case 6:
            return {Qt::Key_End, Qt::NoModifier};
        default:
            return {Qt::Key_A + any(26), Qt::NoModifier};
        }
    }

    void pick_level_of_0_db()
    {
        QTest::mouseClick(gui().edit_button(), Qt::LeftButton);
        row("dsp/level").combo->setFocus();
        key(Qt::Key_Home);
        while (row("dsp/level").combo->currentText() != "0 dB")
            key(Qt::Key_Down);
    }

    bool all_have_level(int level)
    {
        for (const auto &[id, device] : gui().all_devices())
            if (device->value("dsp/level") != QVariant(level))
                return false;
        return true;
    }

private slots:
    void cleanup()
    {
        window.reset();
        fleet.reset();
    }

    void typing_is_not_disturbed_by_a_busy_fleet();
    void an_open_popup_is_not_disturbed_by_a_busy_fleet();
    void another_network_that_takes_over_leaves_an_edit_alone();
    void of_200_devices_exactly_those_that_differ_are_told_data();
    void of_200_devices_exactly_those_that_differ_are_told();
};

void FleetEditingTest::typing_is_not_disturbed_by_a_busy_fleet()
{
    start_mixed_fleet();
    find_devices();
    random.seed(3);
    start_edit();
    const QPointer<QLineEdit> name = row("ui/name").line_edit;
    QTest::mouseClick(name, Qt::LeftButton);
    expect_reports_to_be_held_back(name);
    key(Qt::Key_A, Qt::ControlModifier);
    key(Qt::Key_Delete);
    MeantText meant;
    const Places places(gui());
    int keys = 0;
    const auto expect_meant = [this, &meant, &name, &places] {
        QVERIFY(gui().is_editing());
        QCOMPARE(row("ui/name").line_edit, name.data());
        QVERIFY(name->hasFocus());
        QCOMPARE(name->text(), meant.text);
        QCOMPARE(name->cursorPosition(), meant.cursor);
        QCOMPARE(name->selectedText(), meant.selected());
        QCOMPARE(Places(gui()).values, places.values);
    };
    keep_busy(40, [this, &meant, &keys, expect_meant] {
        expect_meant(); // nothing has moved since the last key
        const auto [code, modifiers] = next_key(meant);
        key(code, modifiers);
        meant.press(code, modifiers);
        ++keys;
        expect_meant();
    });
    if (QTest::currentTestFailed())
        return;
    qInfo("%d keys; the last text is %s", keys, qPrintable(meant.text));
    QVERIFY(row("ui/name").edited);
    QCOMPARE(gui().selected_devices().size(), std::size_t{1});
    expect_newest_values_at_cancel();
}

void FleetEditingTest::an_open_popup_is_not_disturbed_by_a_busy_fleet()
{
    start_mixed_fleet();
    find_devices();
    start_edit();
    const PanelRow prop = row("stream/name"); // its list comes with the reports
    gui().property_scroll()->ensureWidgetVisible(prop.combo);
    const QPointer<ModifiedComboBox> combo = prop.combo;
    QTest::mouseClick(combo, Qt::LeftButton);
    QTRY_VERIFY(combo->view()->isVisible());
    QTest::keyClick(combo->view(), Qt::Key_End);
    const QWidget *popup = QApplication::activePopupWidget();
    const QRect place = popup->geometry();
    const int items = combo->count();
    const QModelIndex marked = combo->view()->currentIndex();
    const QString shown = combo->currentText();
    const Places places(gui());
    keep_busy(100, [this, &combo, &places, &marked, &shown, popup, place, items] {
        QVERIFY(gui().is_editing());
        QCOMPARE(row("stream/name").combo, combo.data());
        QCOMPARE(QApplication::activePopupWidget(), popup);
        QVERIFY(combo->view()->isVisible());
        QCOMPARE(popup->geometry(), place);
        QCOMPARE(combo->count(), items);
        QCOMPARE(combo->view()->currentIndex(), marked);
        QCOMPARE(combo->currentText(), shown);
        QCOMPARE(Places(gui()).values, places.values);
    });
    if (QTest::currentTestFailed())
        return;
    QTest::keyClick(combo->view(), Qt::Key_Return);
    QVERIFY(!combo->view()->isVisible());
    QCOMPARE(combo->currentIndex(), marked.row());
    QVERIFY(row("stream/name").edited);
    QCOMPARE(row("stream/name").value, combo->itemData(marked.row()));
    expect_newest_values_at_cancel();
}

void FleetEditingTest::another_network_that_takes_over_leaves_an_edit_alone()
{
    start_mixed_fleet();
    find_devices();
    start_edit();
    QLineEdit *name = row("ui/name").line_edit;
    QTest::mouseClick(name, Qt::LeftButton);
    key(Qt::Key_End);
    for (const char letter : {'X', 'Y', 'Z'})
        key(letter);
    const QString text = name->text();
    QVERIFY(text.endsWith("xyz"));
    {
        const SimulatedFleet other({"--count", "8", "--first-address", "10.72.0.10"}, "stagetwo",
                                   "10.72.0.1/16");
        QTRY_COMPARE_WITH_TIMEOUT(gui().network_box()->currentText(), QString("stagetwo"), 5000);
        QTRY_COMPARE_WITH_TIMEOUT(window->online_count(), 8, 5000);
        QVERIFY(name->hasFocus());
        QCOMPARE(name->text(), text);
        QCOMPARE(name->cursorPosition(), text.size());
    }
    gui().network_box()->setCurrentText("loudspeakers");
    QTRY_COMPARE_WITH_TIMEOUT(window->online_count(), DEVICES - LATE_DEVICES, 5000);
    QCOMPARE(name->text(), text);
    QVERIFY(gui().is_editing());
    expect_newest_values_at_cancel();
}

void FleetEditingTest::of_200_devices_exactly_those_that_differ_are_told_data()
{
    QTest::addColumn<bool>("with_mute");
    QTest::newRow("level") << false;
    QTest::newRow("level and mute") << true;
}

// All shall have level 4.
void FleetEditingTest::of_200_devices_exactly_those_that_differ_are_told()
{
    QFETCH(bool, with_mute);
    start_fleet({kind("Y6", 120), kind("TSub1802", 80)});
    QCOMPARE(fleet->count, 200);
    for (int i = 0; i < 200; ++i) {
        const QJsonObject dsp{{"level", level_of(i)}, {"mute", i % 2 == 1}};
        fleet->fault(i, "set", {{"state", QJsonObject{{"dsp", dsp}}}});
    }
    window = std::make_unique<FleetWindow>(*fleet);
    QVERIFY(QTest::qWaitForWindowActive(&gui().widget()));
    QTRY_COMPARE_WITH_TIMEOUT(window->online_count(), 200, 20000);

    gui().view()->setFocus();
    key(Qt::Key_A, Qt::ControlModifier);
    QCOMPARE(gui().selected_devices().size(), std::size_t{200});
    pick_level_of_0_db();
    if (with_mute) {
        row("dsp/mute").check_box->setFocus();
        key(Qt::Key_Space);
        QCOMPARE(row("dsp/mute").check_box->checkState(), Qt::Checked);
    }
    QTest::mouseClick(gui().confirm_button(), Qt::LeftButton);
    QVERIFY(!gui().is_editing());

    std::vector<QJsonArray> expected;
    for (int i = 0; i < 200; ++i)
        expected.push_back(expected_commands(i, with_mute));
    const auto told = 200 - std::count(expected.begin(), expected.end(), QJsonArray());
    QCOMPARE(told, ptrdiff_t{with_mute ? 166 : 133});
    QTRY_COMPARE_WITH_TIMEOUT(count("commands_received"), qint64{told}, 10000);

    // The same again, once the devices have reported their new level, and then a mark to all.
    QTRY_VERIFY_WITH_TIMEOUT(all_have_level(4), 5000);
    pick_level_of_0_db();
    QVERIFY(row("dsp/level").edited);
    QTest::mouseClick(gui().confirm_button(), Qt::LeftButton);
    QTest::mouseClick(gui().identify_button(), Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(count("blinks"), qint64{200}, 10000);

    const QJsonArray stats = fleet->stats();
    for (int i = 0; i < 200; ++i) {
        QJsonArray commands = stats.at(i).toObject().value("commands").toArray();
        QCOMPARE(commands.last().toObject().value("command").toString(), QString("blink_leds"));
        commands.removeLast();
        QCOMPARE(QJsonDocument(commands).toJson(),
                 QJsonDocument(expected[static_cast<size_t>(i)]).toJson());
    }
}

WINDOW_TEST_MAIN(FleetEditingTest)
#include "fleet_editing_test.moc"
