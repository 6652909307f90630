// Everything in the window can be read on a light and on a dark desktop.
#include "firmware/deppen_ass.h"
#include "gui/input_guard.h"
#include "meter/log_window.h"
#include "support/contrast.h"
#include "support/panel_case.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QPlainTextEdit>
#include <QStyleFactory>

#include <array>
#include <set>
#include <utility>
#include <vector>

namespace {

constexpr double READABLE = 4.5; // as WCAG asks for text
constexpr double VISIBLE = 2.0;  // for what is switched off, or only a hint

QImage picture_of(QWidget *widget)
{
    return widget->grab().toImage();
}

// The inside of a button, without its frame.
QImage button_part(QWidget *button)
{
    const int frame = 4;
    return button->grab(button->rect().adjusted(frame, frame, -frame, -frame)).toImage();
}

bool has_colour(const QImage &image)
{
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixelColor(x, y).hsvSaturation() > 90)
                return true;
    return false;
}

// What lies inside the yellow of a search's mark.
QImage marked_part(const QImage &cell)
{
    QRect place;
    for (int y = 0; y < cell.height(); ++y)
        for (int x = 0; x < cell.width(); ++x)
            if (cell.pixelColor(x, y) == QColor(Qt::yellow))
                place = place.united(QRect(x, y, 1, 1));
    return cell.copy(place);
}

// The row's editors that show a text, with it.
std::vector<std::pair<QWidget *, QString>> editors_of(const PanelRow &row)
{
    std::vector<std::pair<QWidget *, QString>> editors;
    if (row.line_edit)
        editors.emplace_back(row.line_edit, row.line_edit->text());
    if (row.spinner)
        editors.emplace_back(row.spinner, row.spinner->text());
    if (row.combo)
        editors.emplace_back(row.combo, row.combo->currentText());
    return editors;
}

} // namespace

class DarkThemeTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<PanelCase> window;

    static void desktop_rows()
    {
        QTest::addColumn<bool>("is_dark");
        QTest::newRow("light") << false;
        QTest::newRow("dark") << true;
    }

    // Two loudspeakers, of which the first is selected.
    void open_window()
    {
        QFETCH(bool, is_dark);
        QApplication::setPalette(desktop_palette(is_dark));
        window = std::make_unique<PanelCase>();
        window->gui->resize(1600, 800);
        window->add({{"ui", QJsonObject{{"name", "Front fill left"}}},
                     {"dsp", QJsonObject{{"mute", true}}}});
        window->add({{"ui", QJsonObject{{"name", "Front fill right"}}}});
        window->select({0});
        QTRY_VERIFY(!window->row("ui/name").line_edit->rect().isEmpty()); // laid out
    }

    QImage cell_picture(int device, const std::string &column)
    {
        const QImage list = picture_of(window->gui->view()->viewport());
        const int row
            = window->gui->row_of(window->devices[static_cast<std::size_t>(device)]->record());
        return list.copy(window->gui->view()->visualRect(
            window->gui->model().index(row, window->column(column))));
    }

    void expect_readable_cells()
    {
        for (const int device : {0, 1}) // selected and not
            for (const char *column : {"ui/name", "ui/loc", "ip", "rtp/lock", "status"}) {
                const double found = text_contrast(cell_picture(device, column));
                QVERIFY2(found >= READABLE, qPrintable(QString("%1: %2").arg(column).arg(found)));
            }
    }

    static void expect_contrast(QWidget *widget, double least)
    {
        const double found = text_contrast(picture_of(widget));
        QVERIFY2(found >= least,
                 qPrintable(QString("%1: %2").arg(widget->accessibleName()).arg(found)));
    }

    // A caption has no ground of its own: it is read where it stands.
    void expect_readable_captions()
    {
        QWidget *content = window->gui->property_scroll()->widget();
        const QImage rows = picture_of(content);
        for (const auto &[key, prop] : window->gui->rows()) {
            if (!prop.caption || !prop.caption->isVisible() || prop.caption->text().isEmpty())
                continue;
            const QRect place(prop.caption->mapTo(content, QPoint(0, 0)), prop.caption->size());
            QVERIFY2(text_contrast(rows.copy(place)) >= READABLE, key.c_str());
        }
    }

private slots:
    void initTestCase() { QApplication::setStyle(QStyleFactory::create("Fusion")); }
    void cleanup() { window.reset(); }

    void the_theme_is_taken_from_the_palette_data() { desktop_rows(); }
    void the_theme_is_taken_from_the_palette()
    {
        open_window();
        QFETCH(bool, is_dark);
        QCOMPARE(window->gui->is_dark(), is_dark);
    }

    void list_and_panel_have_the_themes_colours_data() { desktop_rows(); }
    void list_and_panel_have_the_themes_colours()
    {
        open_window();
        QFETCH(bool, is_dark);
        QCOMPARE(window->gui->view()->styleSheet(),
                 is_dark ? QString("QTreeView { selection-background-color: #005499; }")
                         : QString("QTreeView { selection-background-color: #cce8ff; }"));
        QVERIFY(window->gui->property_scroll()->widget()->styleSheet().contains(
            is_dark ? QString("#backw { background-color: black; }")
                    : QString("#backw { background-color: white; }")));
    }

    void cells_can_be_read_selected_and_not_data() { desktop_rows(); }
    void cells_can_be_read_selected_and_not()
    {
        open_window();
        expect_readable_cells();
    }

    void cells_with_marks_of_a_search_can_be_read_data() { desktop_rows(); }
    void cells_with_marks_of_a_search_can_be_read()
    {
        open_window();
        window->gui->search_box()->setEditText("fill");
        for (const int device : {0, 1}) { // selected and not
            const QImage mark = marked_part(cell_picture(device, "ui/name"));
            QVERIFY(mark.width() > 8 && mark.height() > 8);
            QVERIFY2(text_contrast(mark) >= READABLE,
                     qPrintable(QString::number(text_contrast(mark))));
        }
        expect_readable_cells();
    }

    void captions_can_be_read_data() { desktop_rows(); }
    void captions_can_be_read()
    {
        open_window();
        expect_readable_captions();
        window->press_edit();
        expect_readable_captions();
    }

    void editors_can_be_read_data() { desktop_rows(); }
    void editors_can_be_read()
    {
        open_window();
        for (const bool is_editing : {false, true}) {
            if (is_editing)
                window->press_edit();
            expect_contrast(window->row("ui/name").line_edit, READABLE);
            expect_contrast(window->row("firmware_version").line_edit, READABLE);
            expect_contrast(window->row("dsp/delay").spinner, READABLE);
            expect_contrast(window->row("dsp/level").combo, READABLE);
            expect_contrast(window->row("dsp/mute").check_box, VISIBLE); // a tick, no text
            expect_contrast(window->row("rtp/lock").text_label, READABLE);
        }
    }

    void values_of_every_product_can_be_read_outside_an_edit_data() { desktop_rows(); }
    void values_of_every_product_can_be_read_outside_an_edit()
    {
        open_window();
        std::set<QString> seen; // the same text in the same kind of editor reads the same
        const auto expect_readable = [&seen](QWidget *editor, const QString &text) {
            const QString kind = editor->metaObject()->className();
            if (!text.isEmpty() && seen.insert(kind + text).second)
                expect_contrast(editor, READABLE);
        };
        for (const ProductDesc &product : catalogue().product_table) {
            const int number = static_cast<int>(window->devices.size());
            window->add({}, product.product_id);
            window->select({number});
            QCoreApplication::processEvents(); // lays the rows out
            for (const auto &[key, row] : window->gui->rows()) {
                if (row.holder && row.holder->isVisible())
                    for (const auto &[editor, text] : editors_of(row))
                        expect_readable(editor, text);
            }
            if (QTest::currentTestFailed())
                return;
        }
    }

    // Captions and editors stand on one ground; what is switched off has another than what is not.
    void rows_stand_on_the_panels_ground_data() { desktop_rows(); }
    void rows_stand_on_the_panels_ground()
    {
        open_window();
        QFETCH(bool, is_dark);
        const QColor ground = is_dark ? Qt::black : Qt::white;
        QWidget *content = window->gui->property_scroll()->widget();
        QCoreApplication::processEvents();
        const QImage rows = picture_of(content);
        const PanelRow mute = window->row("dsp/mute");
        const QPoint behind_box(mute.holder->geometry().right() - 2,
                                mute.holder->geometry().center().y());
        QCOMPARE(QColor(rows.pixel(behind_box)), ground);
        QCOMPARE(QColor(rows.pixel(mute.caption->geometry().topRight())), ground);
        QCOMPARE(QColor(ground_of(picture_of(window->row("rtp/lock").text_label))), ground);
        QLineEdit *name = window->row("ui/name").line_edit;
        const QRgb switched_off = ground_of(picture_of(name));
        window->press_edit();
        QVERIFY(ground_of(picture_of(name)) != switched_off);
    }

    void the_frame_of_an_empty_check_box_can_be_seen_data() { desktop_rows(); }
    void the_frame_of_an_empty_check_box_can_be_seen()
    {
        open_window();
        window->select({1});
        QCheckBox *mute = window->row("dsp/mute").check_box;
        QCOMPARE(mute->checkState(), Qt::Unchecked);
        expect_contrast(mute, VISIBLE);
        window->press_edit();
        expect_contrast(mute, VISIBLE);
    }

    void buttons_and_boxes_can_be_read_data() { desktop_rows(); }
    void buttons_and_boxes_can_be_read()
    {
        open_window();
        expect_contrast(window->gui->edit_button(), READABLE);
        expect_contrast(window->gui->identify_button(), READABLE);
        expect_contrast(window->gui->eq_button(), READABLE);
        expect_contrast(window->gui->search_box(), VISIBLE); // holds a hint only
        window->gui->search_box()->setEditText("stage");
        expect_contrast(window->gui->search_box(), READABLE);
    }

    void what_is_switched_off_is_quieter_than_what_is_on_data() { desktop_rows(); }
    void what_is_switched_off_is_quieter_than_what_is_on()
    {
        open_window();
        const std::array pictures{window->gui->confirm_button(), window->gui->cancel_button()};
        std::vector<double> off;
        for (QToolButton *button : pictures) {
            expect_contrast(button, VISIBLE);
            off.push_back(text_contrast(button_part(button)));
            QVERIFY(!has_colour(button_part(button)));
        }
        window->press_edit();
        // Not stronger than a text that is switched off.
        const double most = 1.15 * text_contrast(button_part(window->gui->edit_button()));
        for (size_t i = 0; i < pictures.size(); ++i) {
            const QString found = QString("%1: %2").arg(pictures[i]->accessibleName()).arg(off[i]);
            QVERIFY2(off[i] <= most, qPrintable(QString("%1 of %2").arg(found).arg(most)));
            QVERIFY(has_colour(button_part(pictures[i])));
        }
    }

    // By a key, as the pointer does it too.
    void the_assistants_list_shows_what_is_selected_as_the_device_list_does_data()
    {
        desktop_rows();
    }
    void the_assistants_list_shows_what_is_selected_as_the_device_list_does()
    {
        open_window();
        QFETCH(bool, is_dark);
        const int no_product_yet = 0;
        const Device *fresh = window->add({}, no_product_yet).record();
        DeppenAss *assistant = window->gui->assistant(fresh);
        QVERIFY(assistant);
        assistant->findChild<InputGuard *>()->lift();
        auto *choice = assistant->findChild<QComboBox *>();
        choice->showPopup();
        QTest::keyClick(choice->view(), Qt::Key_Down);
        const QRect entry = choice->view()->visualRect(choice->view()->currentIndex());
        QVERIFY(choice->view()->currentIndex().row() > 0 && !entry.isEmpty());
        const int behind_picture = 60;
        const QImage text
            = choice->view()->viewport()->grab(entry.adjusted(behind_picture, 2, -4, -2)).toImage();
        QCOMPARE(QColor(ground_of(text)), QColor(is_dark ? "#005499" : "#cce8ff"));
        QVERIFY2(text_contrast(text) >= READABLE, qPrintable(QString::number(text_contrast(text))));
        choice->hidePopup();
        assistant->close();
    }

    // The program keeps the grounds that it began with: the other theme's texts would stand on
    // them, white on white.
    void a_desktop_that_changes_its_theme_leaves_everything_readable_data() { desktop_rows(); }
    void a_desktop_that_changes_its_theme_leaves_everything_readable()
    {
        open_window();
        QFETCH(bool, is_dark);
        const QPalette before = QApplication::palette();
        QApplication::setPalette(desktop_palette(!is_dark));
        QTRY_COMPARE(QApplication::palette(), before);
        expect_readable_cells();
        expect_readable_captions();
        for (QWidget *widget : std::initializer_list<QWidget *>{
                 window->gui->edit_button(), window->gui->identify_button(),
                 window->row("ui/name").line_edit, window->row("dsp/level").combo})
            expect_contrast(widget, READABLE);
        // Whatever a theme may say from now on is already said.
        QCOMPARE(QApplication::palette().resolve(desktop_palette(!is_dark)), before);
        QCOMPARE(window->gui->is_dark(), is_dark);
    }

    void a_log_can_be_read_in_black_and_in_red_data() { desktop_rows(); }
    void a_log_can_be_read_in_black_and_in_red()
    {
        open_window();
        Device *device = window->devices[0]->record();
        window->gui->open_log(device);
        QWidget *view = window->gui->log_view(device)->viewport();
        for (const bool is_echo : {false, true}) {
            window->gui->log_view(device)->clear();
            window->gui->append_log(device, is_echo, "sync source selected\n");
            const double found = text_contrast(picture_of(view));
            // Red is the brightest that red can be: less than black or white.
            QVERIFY2(found >= (is_echo ? 3.0 : READABLE), qPrintable(QString::number(found)));
        }
    }
};

WINDOW_TEST_MAIN(DarkThemeTest)
#include "dark_theme_test.moc"
