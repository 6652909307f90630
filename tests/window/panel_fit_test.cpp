// The panel fits a small screen: nothing is cut, nothing scrolls sideways, much is in sight.
//
// With PANEL_PICTURES set to a folder, the pictures that are looked at are saved there.
#include "support/contrast.h"
#include "support/panel_case.h"

#include <QAbstractSpinBox>
#include <QHBoxLayout>
#include <QStyleFactory>

#include <algorithm>
#include <cstdlib>

namespace {

constexpr QSize SMALL_SCREEN(1366, 768);
constexpr int TITLE_BAR = 20; // pixels that a desktop takes from a maximised window

// As the window opens on a small screen for the first time, and maximised there.
const QList<std::pair<QString, QSize>> SIZES{
    {"first window", SMALL_SCREEN * 4 / 5},
    {"maximised", {SMALL_SCREEN.width(), SMALL_SCREEN.height() - TITLE_BAR}}};

// A report of everything that a product can have, so that no row is without a value.
QJsonObject full_report(const QString &id, int product_id)
{
    const QJsonArray sessions{QJsonObject{{"n", "main"}, {"i", "x"}, {"c", 8}}};
    QJsonObject report = loudspeaker_report(id, product_id);
    report.insert("streams", QJsonObject{{"list", sessions}});
    report.insert("stream", QJsonObject{{"name", "main"}, {"ch0", 3}});
    return report;
}

QString name_of(const QWidget *widget)
{
    return QString("%1 %2 %3")
        .arg(widget->metaObject()->className(), widget->accessibleName(),
             widget->property("text").toString());
}

int least_width(const QWidget *widget)
{
    if (const auto *button = qobject_cast<const QPushButton *>(widget))
        return button->fontMetrics().horizontalAdvance(button->text()) + 8;
    if (widget->minimumWidth() > 0)
        return widget->minimumWidth();
    return widget->minimumSizeHint().width();
}

// Where its text begins, in pixels from the left of what it stands in; frames are passed over.
int text_start(QWidget *editor)
{
    const int frame = 2;
    const int height = editor->height() / 2; // the middle half
    const QRect inside(frame, height / 2, editor->width() / 2, height);
    const QImage picture = editor->grab(inside).toImage();
    const QRgb ground = ground_of(picture);
    for (int x = 0; x < picture.width(); ++x)
        for (int y = 0; y < picture.height(); ++y)
            if (contrast(picture.pixel(x, y), ground) > 2.0)
                return editor->x() + frame + x;
    return -1;
}

} // namespace

class PanelFitTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<PanelCase> window;
    const QFont usual_font = {"Sans Serif", 9}; // what a desktop without a theme has

    QScrollArea *scroll() { return window->gui->property_scroll(); }
    QWidget *content() { return scroll()->widget(); }

    void open_window(QSize size)
    {
        window = std::make_unique<PanelCase>();
        // The parts take their first shares from the first size.
        window->gui->resize(SMALL_SCREEN.width() * 4 / 5, SMALL_SCREEN.height() * 4 / 5);
        window->gui->property_splitter()->setSizes(
            {SMALL_SCREEN.width() * 4 / 5 * 7 / 10, SMALL_SCREEN.width() * 4 / 5 * 3 / 10});
        QCoreApplication::processEvents();
        window->gui->resize(size.width(), size.height());
        QCoreApplication::processEvents();
    }

    void add_product(int product_id)
    {
        const int number = static_cast<int>(window->devices.size());
        const QString id = QString("device %1").arg(number, 3, 10, QChar('0'));
        window->devices.push_back(
            std::make_unique<FakeDevice>(window->gui.get(), QString("127.0.0.%1").arg(11 + number),
                                         full_report(id, product_id)));
    }

    // Everything of the panel that is to be seen, without the parts of editors.
    QWidgetList shown_widgets()
    {
        QWidgetList all;
        for (const auto &[key, row] : window->gui->rows()) {
            if (!row.holder || !row.holder->isVisible())
                continue;
            all.append(row.caption);
            for (int i = 0; i < row.row_layout->count(); ++i)
                if (QWidget *widget = row.row_layout->itemAt(i)->widget())
                    all.append(widget);
        }
        return all;
    }

    void expect_fit(const QString &what)
    {
        QCoreApplication::processEvents();
        QVERIFY2(!scroll()->horizontalScrollBar()->isVisible()
                     && scroll()->horizontalScrollBar()->maximum() == 0,
                 qPrintable(what + ": sideways"));
        const int width = scroll()->viewport()->width();
        for (const QWidget *widget : shown_widgets()) {
            const int left = widget->mapTo(content(), QPoint(0, 0)).x();
            const QString told = QString("%1: %2: %3 to %4 of %5, least %6")
                                     .arg(what, name_of(widget))
                                     .arg(left)
                                     .arg(left + widget->width())
                                     .arg(width)
                                     .arg(least_width(widget));
            QVERIFY2(left >= 0 && left + widget->width() <= width, qPrintable(told));
            QVERIFY2(widget->width() >= least_width(widget), qPrintable(told));
            QVERIFY2(widget->height() + 2 >= widget->minimumSizeHint().height(), qPrintable(told));
        }
        const QWidget *panel = &window->gui->panel();
        const int right = panel->mapTo(&window->gui->widget(), QPoint(panel->width(), 0)).x();
        QVERIFY2(right <= window->gui->widget().width(), qPrintable(what + ": beyond the window"));
    }

    // No row lies on another one, no caption on its editor.
    void expect_no_overlap(const QString &what)
    {
        int bottom = 0;
        for (const std::string &key : catalogue().property_keys) {
            const PanelRow row = window->row(key);
            if (!row.holder || !row.holder->isVisible())
                continue;
            QVERIFY2(row.holder->y() >= bottom && row.caption->y() >= bottom, key.c_str());
            QVERIFY2(row.caption->geometry().right() < row.holder->x(), qPrintable(what));
            bottom = std::max(row.holder->geometry().bottom(), row.caption->geometry().bottom());
        }
    }

    int rows_in_sight()
    {
        int count = 0;
        for (const auto &[key, row] : window->gui->rows()) {
            if (!row.holder || !row.holder->isVisible())
                continue;
            const int top = row.holder->mapTo(scroll()->viewport(), QPoint(0, 0)).y();
            count += top >= 0 && top + row.holder->height() <= scroll()->viewport()->height();
        }
        return count;
    }

    int usual_row_count()
    {
        int count = 0;
        for (const auto &[key, row] : window->gui->rows())
            count += row.holder && row.holder->isVisible();
        return count;
    }

private slots:
    void initTestCase() { QApplication::setStyle(QStyleFactory::create("Fusion")); }
    void init() { QApplication::setFont(usual_font); }
    void cleanup() { window.reset(); }

    void every_product_fits_a_small_screen()
    {
        for (const auto &[name, size] : SIZES) {
            open_window(size);
            for (const ProductDesc &product : catalogue().product_table)
                add_product(product.product_id);
            for (int i = 0; i < static_cast<int>(catalogue().product_table.size()); ++i) {
                window->select({i});
                const ProductDesc &product = catalogue().product_table[static_cast<std::size_t>(i)];
                expect_fit(name + ": " + QString::fromStdString(product.name));
                if (QTest::currentTestFailed())
                    return;
            }
            qInfo("%s: the rows have %d pixels", qPrintable(name), scroll()->viewport()->width());
        }
    }

    void mixed_selections_fit_a_small_screen()
    {
        for (const auto &[name, size] : SIZES) {
            open_window(size);
            for (const int product_id : {3, 11, 1000, 0})
                add_product(product_id);
            for (const std::initializer_list<int> &selection :
                 {std::initializer_list<int>{0, 1}, {0, 2}, {2, 3}, {0, 1, 2, 3}}) {
                window->select(selection);
                window->press_edit();
                expect_fit(name);
                if (QTest::currentTestFailed())
                    return;
            }
        }
    }

    void two_dozen_rows_of_a_loudspeaker_are_in_sight_at_once()
    {
        open_window(SIZES[1].second);
        add_product(3);
        window->select({0});
        QCoreApplication::processEvents();
        qInfo("%d of %d rows", rows_in_sight(), usual_row_count());
        QVERIFY(usual_row_count() > 40);
        QVERIFY(rows_in_sight() >= 24);
    }

    void a_long_session_name_widens_nothing()
    {
        open_window(SIZES[0].second);
        add_product(3);
        window->select({0});
        QCoreApplication::processEvents();
        const int usual_width = window->gui->panel().minimumSizeHint().width();
        const int usual_editor = window->row("stream/name").combo->width();
        QJsonObject report = full_report("device 001", 3);
        const QString long_name(127, 'W');
        const QJsonArray sessions{QJsonObject{{"n", long_name}, {"i", "x"}, {"c", 2}}};
        report.insert("streams", QJsonObject{{"list", sessions}});
        report.insert("stream", QJsonObject{{"name", long_name}, {"ch0", 0}});
        report.insert("ui", QJsonObject{{"name", long_name}, {"loc", long_name}});
        window->devices.push_back(
            std::make_unique<FakeDevice>(window->gui.get(), "127.0.0.12", report));
        window->select({1});
        expect_fit("long name");
        QVERIFY(window->row("stream/name").combo->currentText().startsWith(long_name));
        QCOMPARE(window->gui->panel().minimumSizeHint().width(), usual_width);
        QCOMPARE(window->row("stream/name").combo->width(), usual_editor);
    }

    void large_letters_scroll_and_overlap_nothing()
    {
        QFont large = usual_font;
        large.setPointSizeF(large.pointSizeF() * 1.5);
        QApplication::setFont(large);
        open_window(SIZES[1].second);
        for (const int product_id : {3, 1000})
            add_product(product_id);
        for (const int number : {0, 1}) {
            window->select({number});
            expect_fit("large letters");
            expect_no_overlap("large letters");
            QVERIFY(scroll()->verticalScrollBar()->maximum() > 0);
            QCOMPARE(window->row("ui/name").line_edit->font().pointSizeF(), large.pointSizeF());
        }
    }

    void the_tab_key_scrolls_up_and_down_only()
    {
        open_window(SIZES[0].second);
        add_product(1000);
        window->select({0});
        window->press_edit();
        int highest = 0;
        for (int i = 0; i < 80; ++i) {
            QTest::keyClick(window->gui->widget().windowHandle(), Qt::Key_Tab);
            QCOMPARE(scroll()->horizontalScrollBar()->value(), 0);
            highest = std::max(highest, scroll()->verticalScrollBar()->value());
        }
        QVERIFY(highest > 100);
    }

    // Whatever kind of field a value stands in; its frame may be another.
    void values_begin_on_one_line()
    {
        open_window(SIZES[1].second);
        window->add({{"ui", QJsonObject{{"name", "1"}, {"loc", "1"}, {"order", 1}}},
                     {"dsp", QJsonObject{{"bank", 1}}}});
        window->select({0});
        QCoreApplication::processEvents();
        const PanelRow bank = window->row("dsp/bank");
        const int start = text_start(bank.spinner ? static_cast<QWidget *>(bank.spinner)
                                                  : static_cast<QWidget *>(bank.combo));
        QVERIFY(start > 0);
        QVERIFY(std::abs(text_start(window->row("ui/order").spinner) - start) <= 1);
        QVERIFY(std::abs(text_start(window->row("ui/name").line_edit) - start) <= 1);
        QVERIFY(std::abs(text_start(window->row("ui/loc").line_edit) - start) <= 1);
        window->row("dsp/level").combo->setItemText(0, "1");
        window->row("dsp/level").combo->setCurrentIndex(0);
        QVERIFY(std::abs(text_start(window->row("dsp/level").combo) - start) <= 1);
        window->row("rtp/lock").text_label->setText("1");
        QVERIFY(std::abs(text_start(window->row("rtp/lock").text_label) - start) <= 1);
    }

    void pictures_to_look_at()
    {
        const QString folder = qEnvironmentVariable("PANEL_PICTURES");
        if (folder.isEmpty())
            QSKIP("PANEL_PICTURES names no folder");
        const QPalette usual = QApplication::palette();
        for (const bool is_dark : {false, true}) {
            QApplication::setPalette(is_dark ? desktop_palette(true) : usual);
            open_window(SIZES[1].second);
            for (const int product_id : {3, 11, 1000})
                add_product(product_id);
            const QString theme = is_dark ? "dark" : "light";
            const auto take = [this, &folder, &theme](const QString &name) {
                QCoreApplication::processEvents();
                window->gui->widget().grab().save(folder + "/" + name + "-" + theme + ".png");
            };
            window->select({0});
            take("loudspeaker");
            window->select({2});
            take("module");
            window->select({0, 1});
            window->press_edit();
            window->type("ui/loc", "Stage left");
            window->pick("dsp/level", "-6 dB");
            take("edit");
        }
        QApplication::setPalette(usual);
    }

    // The captions give way last, and tell all when they are cut.
    void captions_are_whole_where_there_is_room()
    {
        open_window({1600, 900});
        window->gui->property_splitter()->setSizes({900, 700});
        add_product(1000);
        window->select({0});
        QCoreApplication::processEvents();
        for (const auto &[key, row] : window->gui->rows())
            if (row.holder && row.holder->isVisible())
                QVERIFY2(row.caption->width() >= row.caption->sizeHint().width(), key.c_str());
        const int wide = window->row("ui/name").line_edit->width();
        window->gui->property_splitter()->setSizes({1000, 600});
        QCoreApplication::processEvents();
        QVERIFY(window->row("ui/name").line_edit->width() < wide); // editors fill the panel
    }
};

WINDOW_TEST_MAIN(PanelFitTest)
#include "panel_fit_test.moc"
