// What the commands send, and what they tell the operator.
#include "gui/guide_link.h"
#include "support/dialog_probe.h"
#include "support/panel_case.h"

#include <QAction>
#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QMenu>
#include <QMenuBar>
#include <QWindow>

namespace {

const QJsonObject BLINK{{"command", "blink_leds"}, {"seq", 1}};
const QJsonObject PURGE{{"command", "sap_purge"}, {"seq", 1}, {"age", 0}, {"blocktime", 1}};

} // namespace

class CommandsTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<PanelCase> window;

    QList<QUrl> opened = {};

    WindowHandle &gui() { return *window->gui; }

    // Where the mouse's picture says that there is one.
    static void click_link(QLabel *label)
    {
        for (int y = 2; y < label->height(); y += 4)
            for (int x = 2; x < label->width(); x += 4) {
                const QPoint place = label->mapTo(label->window(), QPoint(x, y));
                QTest::mouseMove(label->window()->windowHandle(), place);
                if (label->cursor().shape() == Qt::PointingHandCursor)
                    return QTest::mouseClick(label->window()->windowHandle(), Qt::LeftButton, {},
                                             place);
            }
        QFAIL("no link");
    }

    QAction *action(const QString &caption)
    {
        for (QAction *menu : gui().widget().menuBar()->actions())
            for (QAction *entry : menu->menu()->actions())
                if (entry->text() == caption)
                    return entry;
        return nullptr;
    }

private slots:
    void init() { window = std::make_unique<PanelCase>(); }
    void cleanup() { window.reset(); }

    void identify_makes_each_selected_device_blink()
    {
        FakeDevice &first = window->add({});
        FakeDevice &second = window->add({});
        FakeDevice &other = window->add({});
        second.record()->online = false;
        window->select({0, 1});
        QVERIFY(gui().identify_button()->isEnabled());
        QTest::mouseClick(gui().identify_button(), Qt::LeftButton);
        QTest::mouseClick(gui().identify_button(), Qt::LeftButton);
        QTRY_COMPARE(first.commands(), QList<QJsonObject>({BLINK, BLINK}));
        QTRY_COMPARE(second.commands(), QList<QJsonObject>({BLINK, BLINK}));
        QVERIFY(other.commands().isEmpty());
    }

    void identify_is_enabled_while_a_selected_device_is_online()
    {
        FakeDevice &device = window->add({});
        QVERIFY(!gui().identify_button()->isEnabled());
        device.record()->online = false;
        window->select({0});
        QVERIFY(!gui().identify_button()->isEnabled());
        device.report();
        QVERIFY(gui().identify_button()->isEnabled());
        device.record()->last_seen -= 3000;
        gui().discover();
        QVERIFY(!gui().identify_button()->isEnabled());
    }

    void a_failed_identify_shows_nowhere()
    {
        FakeDevice &device = window->add({});
        window->select({0});
        device.record()->interface = "gone";
        DialogProbe probe;
        QTest::mouseClick(gui().identify_button(), Qt::LeftButton);
        QCoreApplication::processEvents();
        QVERIFY(probe.titles.isEmpty());
    }

    void purge_goes_to_all_and_one_box_lists_the_failures()
    {
        FakeDevice &first = window->add({});
        FakeDevice &second = window->add({});
        FakeDevice &third = window->add({});
        window->select({0, 1, 2});
        third.record()->interface = "gone";
        DialogProbe probe;
        QVERIFY(QTest::qWaitForWindowActive(&gui().widget()));
        QTest::keyClick(&gui().widget(), Qt::Key_R, Qt::ControlModifier);
        QTRY_COMPARE(first.commands(), QList<QJsonObject>({PURGE}));
        QTRY_COMPARE(second.commands(), QList<QJsonObject>({PURGE}));
        QVERIFY(third.commands().isEmpty());
        QTRY_COMPARE(probe.titles, QStringList("Network error"));
        QCOMPARE(probe.texts.at(0), QString("<b></b>127.0.0.13: network not found"));
    }

    void purge_asks_nothing_and_reports_no_success()
    {
        FakeDevice &device = window->add({});
        window->select({0});
        DialogProbe probe;
        action("Pu&rge AES67 sessions")->trigger();
        action("Pu&rge AES67 sessions")->trigger();
        QTRY_COMPARE(device.commands(), QList<QJsonObject>({PURGE, PURGE}));
        QVERIFY(probe.titles.isEmpty());
    }

    void without_a_selection_nothing_is_sent()
    {
        FakeDevice &device = window->add({});
        DialogProbe probe;
        gui().identify_selected();
        gui().purge_sessions();
        QCoreApplication::processEvents();
        QVERIFY(device.commands().isEmpty());
        QVERIFY(probe.titles.isEmpty());
    }

    void devices_may_go_while_the_box_is_open()
    {
        FakeDevice &device = window->add({});
        window->select({0});
        device.record()->interface = "gone";
        DialogProbe probe;
        probe.answer = [this](QDialog *dialog) {
            gui().delete_selected();
            DialogProbe::press_default(dialog);
        };
        gui().purge_sessions();
        QVERIFY(gui().all_devices().empty());
    }

    void network_info_is_a_box_of_that_name()
    {
        DialogProbe probe;
        action("Network info")->trigger();
        QCOMPARE(probe.titles, QStringList("Network info"));
        QVERIFY2(probe.texts.value(0).contains("loopback IPv4 127.0.0.1"),
                 qPrintable(probe.texts.value(0)));
    }

    void the_delete_key_deletes_the_selected_devices()
    {
        window->add({});
        window->add({});
        window->select({1});
        QVERIFY(QTest::qWaitForWindowActive(&gui().widget()));
        QTest::keyClick(gui().view(), Qt::Key_Delete);
        QCOMPARE(gui().all_devices().size(), size_t(1));
        QCOMPARE(gui().all_devices().begin()->first, QString("device 000"));
    }

    void about_tells_name_version_and_makers()
    {
        DialogProbe probe;
        QString text;
        QSize picture;
        QString tip;
        bool is_fixed = false;
        bool is_in_the_middle = false;
        int first_row = -1;
        probe.answer = [&is_fixed, &is_in_the_middle, &first_row, &picture, &text,
                        &tip](QDialog *dialog) {
            auto *grid = qobject_cast<QGridLayout *>(dialog->layout());
            is_fixed = grid->sizeConstraint() == QLayout::SetFixedSize;
            for (int row = grid->rowCount() - 1; row >= 0; --row)
                if (grid->itemAtPosition(row, 0))
                    first_row = row;
            picture = qobject_cast<QLabel *>(grid->itemAtPosition(2, 0)->widget())
                          ->pixmap(Qt::ReturnByValue)
                          .size();
            const auto *label = qobject_cast<QLabel *>(grid->itemAtPosition(3, 0)->widget());
            text = label->text();
            tip = label->toolTip();
            is_in_the_middle = label->alignment() == Qt::AlignHCenter
                && label->textFormat() == Qt::RichText
                && std::abs(label->geometry().center().x() - dialog->rect().center().x()) <= 1
                && std::abs(grid->itemAtPosition(2, 0)->geometry().center().x()
                            - dialog->rect().center().x())
                    <= 1;
            QCOMPARE(dialog->size(), dialog->sizeHint());
            auto *buttons = qobject_cast<QDialogButtonBox *>(grid->itemAtPosition(4, 0)->widget());
            QTest::mouseClick(buttons->button(QDialogButtonBox::Ok), Qt::LeftButton);
        };
        action("About this software")->trigger();
        QCOMPARE(probe.titles, QStringList("About VELMARK Network Manager"));
        QVERIFY(is_fixed);
        QCOMPARE(first_row, 2);
        QCOMPARE(picture.width(), 256);
        const QStringList lines = text.split("<br>");
        QCOMPARE(lines.size(), 4);
        QCOMPARE(lines.at(0), QString("VELMARK Network Manager"));
        QCOMPARE(lines.at(1), QString("Version v1.6.2"));
        QVERIFY(is_in_the_middle);
        const QString guide = find_guide(QCoreApplication::applicationDirPath());
        QCOMPARE(tip, guide.isEmpty() ? QString() : "The guide is " + guide);
        QVERIFY(gui().widget().findChildren<QDialog *>().isEmpty()
                || gui().widget().findChildren<QDialog *>().first()->isHidden());
    }

    // Nothing here starts a browser.
    void about_opens_the_guide_by_mouse_and_by_keyboard()
    {
        QDesktopServices::setUrlHandler("file", this, "take_url");
        DialogProbe probe;
        probe.answer = [](QDialog *dialog) {
            auto *ok = dialog->findChild<QPushButton *>();
            QTRY_VERIFY(ok->hasFocus());
            click_link(qobject_cast<QLabel *>(
                qobject_cast<QGridLayout *>(dialog->layout())->itemAtPosition(3, 0)->widget()));
            for (int i = 0; i < 3 && ok->hasFocus(); ++i)
                QTest::keyClick(dialog->windowHandle(), Qt::Key_Backtab, Qt::ShiftModifier);
            QTest::keyClick(dialog->windowHandle(), Qt::Key_Return);
            QTest::mouseClick(ok, Qt::LeftButton);
        };
        action("About this software")->trigger();
        QDesktopServices::unsetUrlHandler("file");
        QCOMPARE(opened.size(), 2);
        QCOMPARE(opened.at(0), opened.at(1));
        QFile page(opened.at(0).toLocalFile());
        QVERIFY2(page.open(QIODevice::ReadOnly), qPrintable(page.fileName()));
        const QByteArray html = page.readAll();
        QVERIFY(html.contains("<h1"));
        for (const char *name : {"12-keys.html", "01-nothing-in-the-list.html"}) {
            QVERIFY2(html.contains(QByteArray("\"") + name), name);
            QVERIFY(QFile::exists(QFileInfo(page).dir().filePath(name)));
        }
    }

    void without_a_guide_there_is_no_link()
    {
        const QTemporaryDir folder;
        QCOMPARE(find_guide(folder.filePath("bin")), QString());
        QVERIFY(!about_text({}, "#000000").contains("<a"));
    }

public slots:
    void take_url(const QUrl &url) { opened.append(url); }
};

WINDOW_TEST_MAIN(CommandsTest)
#include "commands_test.moc"
