// Backups in the real window: saving one, and loading it as an edit.
#include "support/changed_reports.h"
#include "support/dialog_probe.h"
#include "support/files.h"
#include "support/panel_case.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QFileSystemModel>
#include <QTreeView>

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

class StorageBackupsTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<PanelCase> window;

    WindowHandle &gui() { return *window->gui; }

    // One of the two buttons in the panel.
    void press(const QString &caption)
    {
        QCoreApplication::processEvents(); // lays the rows out
        for (QWidget *widget : window->row("dummy/load_restore/0").extra_widgets)
            if (widget->property("text").toString() == caption)
                QTest::mouseClick(widget, Qt::LeftButton);
    }

    // Loads a file into the selection and returns the boxes that came up.
    QStringList boxes_of_load(const QByteArray &text)
    {
        const QString path = window->folder.filePath("backup.ntd");
        put(path, text);
        DialogProbe probe;
        probe.choose_file(path);
        press("Load");
        if (probe.titles.value(0) != "Load backup")
            return {"no file dialog"};
        return probe.titles.mid(1) + probe.texts;
    }

private slots:
    void init() { window = std::make_unique<PanelCase>(); }
    void cleanup() { window.reset(); }

    void save_writes_the_last_report()
    {
        window->add({{"ui", QJsonObject{{"name", "Kept"}}}});
        window->select({0});
        const QString path = window->folder.filePath("kept.ntd");
        DialogProbe probe;
        probe.choose_file(path);
        press("Save");
        QCOMPARE(probe.titles, QStringList("Save backup"));
        QCOMPARE(contents(path), json(window->devices[0]->record()->last_report.object()));
    }

    void save_with_none_or_two_selected_opens_no_dialog()
    {
        window->add({});
        window->add({});
        DialogProbe probe;
        gui().save_backup();
        window->select({0, 1});
        gui().save_backup();
        QVERIFY(probe.titles.isEmpty());
    }

    void a_save_dialog_that_is_left_writes_nothing()
    {
        window->add({});
        window->select({0});
        DialogProbe probe;
        probe.answer = &DialogProbe::cancel;
        gui().save_backup();
        QCOMPARE(probe.titles, QStringList("Save backup"));
        QVERIFY(QDir(window->folder.path()).entryList({"*.ntd"}).isEmpty());
    }

    void a_device_may_go_while_the_dialog_is_open()
    {
        window->add({});
        window->select({0});
        const QString path = window->folder.filePath("gone.ntd");
        DialogProbe probe;
        probe.answer = [this, path](QDialog *dialog) {
            gui().delete_selected();
            dialog->findChild<QLineEdit *>("fileNameEdit")->setText(path);
            DialogProbe::press_default(dialog);
        };
        gui().save_backup();
        QCOMPARE(probe.titles, QStringList("Save backup"));
        QVERIFY(!QFile::exists(path));
    }

    void a_place_that_cannot_be_written_is_met_with_silence()
    {
        window->add({});
        window->select({0});
        DialogProbe probe;
        probe.choose_file("/proc/no-such-place.ntd");
        gui().save_backup();
        QCOMPARE(probe.titles, QStringList("Save backup"));
    }

    void both_dialogs_offer_backups_alone()
    {
        window->add({});
        window->select({0});
        DialogProbe probe;
        QStringList filters;
        probe.answer = [&filters](QDialog *dialog) {
            filters += qobject_cast<QFileDialog *>(dialog)->nameFilters();
            DialogProbe::cancel(dialog);
        };
        press("Save");
        press("Load");
        QCOMPARE(filters, QStringList({"Device backups (*.ntd)", "Device backups (*.ntd)"}));
    }

    // By the end of their names: a pattern is compiled anew for each file of a folder.
    void both_dialogs_show_backups_and_folders_without_patterns()
    {
        const QTemporaryDir place;
        QVERIFY(QDir(place.path()).mkdir("tour"));
        for (const char *name : {"hall.ntd", "OPEN AIR.NTD", "notes.txt", "ntd"})
            put(place.filePath(name), {});
        window->add({});
        window->select({0});
        DialogProbe probe;
        QList<QStringList> shown;
        QStringList patterns;
        probe.answer = [&place, &shown, &patterns](QDialog *dialog) {
            qobject_cast<QFileDialog *>(dialog)->setDirectory(place.path());
            auto *kinds = dialog->findChild<QComboBox *>("fileTypeCombo");
            kinds->showPopup(); // the one kind is chosen once more
            QTest::keyClick(kinds->view(), Qt::Key_Enter);
            const auto *list = dialog->findChild<QTreeView *>("treeView");
            const auto count = [list] { return list->model()->rowCount(list->rootIndex()); };
            static_cast<void>(QTest::qWaitFor([&count] { return count() == 3; }));
            QStringList names;
            for (int row = 0; row < count(); ++row)
                names += list->model()->index(row, 0, list->rootIndex()).data().toString();
            names.sort();
            shown += names;
            patterns += dialog->findChild<QFileSystemModel *>()->nameFilters();
            DialogProbe::cancel(dialog);
        };
        press("Save");
        press("Load");
        const QStringList expected = {"OPEN AIR.NTD", "hall.ntd", "tour"};
        QCOMPARE(shown, QList<QStringList>({expected, expected}));
        QCOMPARE(patterns, QStringList());
    }

    void a_file_that_is_no_backup_is_refused_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("message");
        const QString no_json = "File doesn't seem to contain JSON data.";
        const QString no_backup = "File doesn't seem to be a device backup.";
        QTest::newRow("empty") << QByteArray() << no_json;
        QTest::newRow("text") << QByteArray("hello") << no_json;
        QTest::newRow("truncated") << QByteArray(R"({"product":"KESTA",)") << no_json;
        QTest::newRow("{}") << QByteArray("{}") << no_backup;
        QTest::newRow("[]") << QByteArray("[]") << no_backup;
        QTest::newRow("other family") << QByteArray(R"({"product":"kesta"})") << no_backup;
        QTest::newRow("100 MB") << QByteArray(100 * 1024 * 1024, ' ') + "{}" << no_json;
    }

    void a_file_that_is_no_backup_is_refused()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, message);
        FakeDevice &device = window->add({});
        window->select({0});
        QCOMPARE(boxes_of_load(text), QStringList({"Load error", message}));
        QVERIFY(!gui().is_editing());
        QVERIFY(device.commands().isEmpty());
    }

    // A pipe is no file to read, whoever runs the test.
    void a_backup_that_cannot_be_opened_is_met_with_silence()
    {
        window->add({});
        window->select({0});
        const QString path = window->folder.filePath("pipe.ntd");
        QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        DialogProbe probe;
        probe.choose_file(path);
        press("Load");
        QCOMPARE(probe.titles, QStringList("Load backup"));
        QVERIFY(!gui().is_editing());
    }

    void a_load_dialog_that_is_left_changes_nothing()
    {
        window->add({});
        window->select({0});
        DialogProbe probe;
        probe.answer = &DialogProbe::cancel;
        press("Load");
        QCOMPARE(probe.titles, QStringList("Load backup"));
        QVERIFY(!gui().is_editing());
    }

    void a_load_is_an_edit_that_sends_nothing_before_confirm()
    {
        FakeDevice &device = window->add({});
        window->select({0});
        const QJsonObject backup
            = with(device.state, "dsp", {{"level", -3}, {"mute", true}, {"delay", 7.5}});
        QVERIFY(boxes_of_load(json(backup)).isEmpty());
        QVERIFY(gui().is_editing());
        QVERIFY(!gui().edit_button()->isEnabled());
        QVERIFY(gui().confirm_button()->isEnabled());
        QVERIFY(gui().cancel_button()->isEnabled());
        QCOMPARE(window->row("dsp/mute").value, QVariant(true));
        QVERIFY(device.commands().isEmpty());

        window->press_confirm();
        QTRY_COMPARE(device.commands().size(), 1);
        QCOMPARE(device.commands().at(0),
                 set_params({{"dsp", QJsonObject{{"level", -3}, {"mute", true}, {"delay", 7.5}}}}));
    }

    void cancel_undoes_a_load()
    {
        FakeDevice &device = window->add({});
        window->select({0});
        boxes_of_load(json(with(device.state, "dsp", {{"level", -3}})));
        QCOMPARE(window->row("dsp/level").value, QVariant(-3));
        window->press_cancel();
        QCOMPARE(window->row("dsp/level").value, QVariant(4));
        QVERIFY(device.commands().isEmpty());
    }

    void name_place_and_product_are_never_restored()
    {
        FakeDevice &device = window->add({});
        window->select({0});
        QJsonObject backup = with(device.state, "ui", {{"name", "Other"}, {"loc", "Elsewhere"}});
        backup.insert("product_id", 5);
        boxes_of_load(json(with(backup, "dsp", {{"eq_en", true}})));
        QVERIFY(!window->row("ui/name").edited);
        QVERIFY(!window->row("ui/loc").edited);
        QVERIFY(!window->row("product_id").edited);
        QVERIFY(window->row("dsp/eq_en").edited);
        QCOMPARE(window->row("ui/name").value, QVariant("Left"));
    }

    void presets_follow_the_restored_bank_before_confirm()
    {
        FakeDevice &device = window->add({});
        window->select({0});
        ModifiedComboBox *preset = window->row("dsp/preset").combo;
        const QString first_bank = preset->itemText(0);
        boxes_of_load(json(with(device.state, "dsp", {{"bank", 2}, {"preset", 1}})));
        const ProductDesc &product = find_product(3);
        if (product.preset_names.size() > 1) {
            preset = window->row("dsp/preset").combo;
            QCOMPARE(preset->itemText(0), QString::fromStdString(product.preset_names[1][0]));
        }
        QCOMPARE(window->row("dsp/preset").value, QVariant(1));
        QVERIFY(window->row("dsp/preset").edited);
    }

    void wrong_types_are_skipped_without_a_word()
    {
        FakeDevice &device = window->add({});
        window->select({0});
        QJsonObject backup = with_wrong_types(device.state);
        backup.insert("product", "KESTA");
        QVERIFY(boxes_of_load(json(backup)).isEmpty());
        QVERIFY(gui().is_editing());
        for (const char *key : {"dsp/mute", "dsp/delay", "stream/rtp/ip", "dsp/eq_en"})
            QVERIFY2(!window->row(key).edited, key);
        QVERIFY(device.commands().isEmpty());
    }

    void nulls_are_skipped_and_an_empty_text_is_not()
    {
        window->add({{"stream", QJsonObject{{"name", "x"}}}});
        window->select({0});
        QJsonObject backup{{"product", "KESTA"}, {"dsp", QJsonObject{{"level", QJsonValue()}}}};
        backup.insert("stream", QJsonObject{{"name", ""}});
        boxes_of_load(json(backup));
        QVERIFY(!window->row("dsp/level").edited);
        QCOMPARE(window->row("dsp/level").value, QVariant(4));
        QVERIFY(window->row("stream/name").edited);
        QCOMPARE(window->row("stream/name").value, QVariant(""));
    }

    void a_number_out_of_bounds_becomes_the_bound()
    {
        FakeDevice &device = window->add({});
        window->select({0});
        boxes_of_load(json(with(device.state, "dsp", {{"delay", 2000}})));
        window->press_confirm();
        QTRY_COMPARE(device.commands().size(), 1);
        QCOMPARE(device.commands().at(0), set_params(dsp("delay", 935)));
    }

    void several_devices_take_a_backup_as_one_edit()
    {
        FakeDevice &first = window->add({});
        FakeDevice &second = window->add({{"dsp", QJsonObject{{"level", -3}}}});
        window->select({0, 1});
        boxes_of_load(json(with(first.state, "dsp", {{"level", -3}, {"mute", true}})));
        window->press_confirm();
        QTRY_COMPARE(second.commands().size(), 1);
        QCOMPARE(second.commands().at(0), set_params(dsp("mute", true)));
        QTRY_COMPARE(first.commands().size(), 1);
        QCOMPARE(first.commands().at(0),
                 set_params({{"dsp", QJsonObject{{"level", -3}, {"mute", true}}}}));
    }

    void a_backup_of_another_product_restores_what_fits()
    {
        FakeDevice &device = window->add({});
        window->select({0});
        QJsonObject backup = with(device.state, "dsp", {{"level", -6}});
        backup.insert("product_id", 1);
        backup.insert("stream_tx", QJsonObject{{"channel_count", 8}, {"nonsense", 1}});
        QVERIFY(boxes_of_load(json(backup)).isEmpty());
        QCOMPARE(window->row("dsp/level").value, QVariant(-6));
        for (const auto &[key, row] : gui().rows())
            if (row.desc.kind == PROP_NONE)
                QVERIFY2(!row.edited, key.c_str());
    }

    // Last: it changes what this process sees of the file system.
    void a_backup_for_which_there_is_no_room_is_told()
    {
        const QString disk = window->folder.filePath("disk");
        QVERIFY(QDir().mkpath(disk));
        if (unshare(CLONE_NEWNS) != 0
            || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0
            || mount("tmpfs", QFile::encodeName(disk).constData(), "tmpfs", 0, "size=32k") != 0)
            QSKIP("this kernel gives us no file system of our own");
        window->add({{"ui", QJsonObject{{"memo", QString(50000, 'm')}}}});
        window->select({0});
        DialogProbe probe;
        probe.choose_file(disk + "/new.ntd");
        press("Save");
        QCOMPARE(probe.titles, QStringList({"Save backup", "Save error"}));
        QCOMPARE(probe.texts,
                 QStringList("The backup could not be written: " + qt_error_string(ENOSPC)));
        QVERIFY(!QFile::exists(disk + "/new.ntd"));
        umount(QFile::encodeName(disk).constData());
    }
};

TEST_PART(StorageBackupsTest)
#include "storage_test_backups.moc"
