// Where things stand in the window, and that boxes and dividers hide nothing.
#include "eq/curve_widget.h"
#include "gui/device_list_view.h"
#include "gui/message_box.h"
#include "support/dialog_probe.h"
#include "support/panel_case.h"
#include "support/tool_tip.h"

#include <QHeaderView>
#include <QLabel>
#include <QPainter>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QScreen>
#include <QStatusBar>
#include <QToolTip>

class LayoutTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<PanelCase> window;

    WindowHandle &gui() { return *window->gui; }

    QRect place(QWidget *widget)
    {
        return {widget->mapTo(&gui().widget(), QPoint(0, 0)), widget->size()};
    }

    // The size of the box and whether its text can be scrolled, as it stands open.
    struct Box
    {
        QSize size;
        QString text;
        QString title;
        int scroll_range = 0;
    };
    Box show_box(const QString &text)
    {
        Box box;
        DialogProbe probe;
        probe.answer = [&box](QDialog *dialog) {
            QCoreApplication::processEvents();
            box.size = dialog->frameGeometry().size();
            box.title = dialog->windowTitle();
            box.text = qobject_cast<QMessageBox *>(dialog)->text();
            if (auto *area = dialog->findChild<QScrollArea *>())
                box.scroll_range = area->verticalScrollBar()->maximum();
            DialogProbe::press_default(dialog);
        };
        show_message_box(&gui().widget(), QMessageBox::Warning, "Network error", text);
        return box;
    }

private slots:
    void init()
    {
        window = std::make_unique<PanelCase>();
        window->add({});
        window->select({0});
    }
    void cleanup() { window.reset(); }

    // Also while it is switched off: whoever rests on it asks what it would do.
    void every_button_tells_what_it_is_for()
    {
        QMap<QString, QString> told;
        for (QAbstractButton *button : gui().widget().findChildren<QAbstractButton *>()) {
            if (!button->isVisible() || qobject_cast<QCheckBox *>(button))
                continue;
            const QString tip = tool_tip_at(button, button->rect().center());
            const QString name = button->text().isEmpty() ? button->toolTip() : button->text();
            QVERIFY2(!button->toolTip().isEmpty() && tip == button->toolTip(), qPrintable(name));
            told[name] = button->toolTip();
        }
        const QMap<QString, QString> expected{
            {"Cancel", "Cancel"},
            {"Confirm", "Confirm"},
            {"Edit", "Lets the values of the selected devices be changed (F2)"},
            {"Identify", "Lets the selected devices blink"},
            {"Load", "Fills in the values of such a file: nothing is sent before Confirm"},
            {"Save", "Writes the values of the one selected device to a file"},
            {"Show User EQ", "Shows the user equaliser of the selected devices under the list"},
            {"Update", "Sends an image from a file to each of the selected devices"}};
        QCOMPARE(told, expected);
        QCOMPARE(gui().search_box()->toolTip(),
                 QString("Leaves the devices that have this text in a column (Ctrl+F)"));
        QToolTip::hideText();
    }

    void what_has_no_text_of_its_own_has_a_name_for_screen_readers()
    {
        QCOMPARE(gui().view()->accessibleName(), QString("Devices"));
        QCOMPARE(gui().view()->header()->accessibleName(), QString("Columns"));
        QCOMPARE(gui().network_box()->accessibleName(), QString("Network"));
        QCOMPARE(gui().search_box()->accessibleName(), QString("Search"));
        const auto *progress = gui().widget().statusBar()->findChild<QProgressBar *>();
        QCOMPARE(progress->accessibleName(), QString("Progress of the uploads"));
        gui().enable_logging();
        const Device *device = window->devices[0]->record();
        QCOMPARE(gui().log_view(device)->accessibleName(), QString("Firmware log"));
    }

    void the_parts_above_the_list_begin_and_end_where_it_does()
    {
        const QRect list = place(gui().view());
        QCOMPARE(place(gui().eq_button()).left(), list.left());
        QCOMPARE(place(gui().search_box()).right(), list.right());
        QCOMPARE(place(gui().eq_button()->parentWidget()).bottom() + 1 + 4, list.top());
        QCOMPARE(list.left(), 4);
    }

    void left_and_right_column_align()
    {
        QVERIFY(std::abs(place(gui().view()).top() - place(gui().property_scroll()).top()) <= 2);
        QVERIFY(std::abs(place(gui().view()).bottom() - place(gui().property_scroll()).bottom())
                <= 2);
        const int left = place(gui().eq_button()).center().y();
        for (QWidget *widget : {static_cast<QWidget *>(gui().edit_button()),
                                static_cast<QWidget *>(gui().identify_button()),
                                static_cast<QWidget *>(gui().search_box())})
            QVERIFY2(std::abs(place(widget).center().y() - left) <= 2,
                     widget->metaObject()->className());
        QVERIFY(std::abs(place(gui().eq_button()).top() - place(gui().edit_button()).top()) <= 2);
    }

    // By themselves the two rows of buttons are as high as what stands in them.
    void they_align_with_large_letters_too()
    {
        const QFont usual = QApplication::font();
        QFont large = usual;
        large.setPointSizeF(2 * usual.pointSizeF());
        QApplication::setFont(large);
        init();
        QApplication::setFont(usual);
        QCoreApplication::processEvents();
        QCOMPARE(place(gui().view()).top(), place(gui().property_scroll()).top());
        QCOMPARE(place(gui().eq_button()).center().y(), place(gui().edit_button()).center().y());
    }

    // A list, not a tree: its first column begins at the edge.
    void the_parts_above_the_list_share_its_width()
    {
        gui().resize(2600, 700);
        const QWidget *search = gui().search_box();
        const std::vector<const QWidget *> parts{gui().eq_button(), gui().identify_button(),
                                                 gui().network_box(), search};
        const auto gap_before = [&parts](size_t i) {
            return parts[i]->x() - (parts[i - 1]->x() + parts[i - 1]->width());
        };
        QTRY_VERIFY(gap_before(1) > 100);
        for (size_t i = 1; i < parts.size(); ++i)
            QVERIFY(std::abs(3 * gap_before(i) - search->width()) <= 3);
    }

    void rows_begin_at_the_edge() { QCOMPARE(gui().view()->indentation(), 0); }

    // What was an empty strip is the status bar.
    void the_status_bar_reaches_to_the_bottom()
    {
        const QRect bar = place(gui().widget().statusBar());
        QCOMPARE(bar.bottom(), gui().widget().height() - 1);
        QVERIFY(bar.top() - place(gui().property_splitter()).bottom() <= 2);
        for (QWidget *part : {static_cast<QWidget *>(gui().view()),
                              static_cast<QWidget *>(gui().property_scroll())})
            QVERIFY(bar.top() - place(part).bottom() <= 6);
        QVERIFY(bar.height() <= 2 * QFontMetrics(gui().widget().font()).height());
        const auto *message = gui().widget().statusBar()->findChild<QLabel *>("status_message");
        const int text_left
            = message->contentsRect().left() + message->mapTo(&gui().widget(), QPoint(0, 0)).x();
        QCOMPARE(text_left, place(gui().view()).left());
    }

    // As in a maximised window, which has no corner to drag.
    void the_counts_end_where_the_panel_does()
    {
        gui().widget().statusBar()->setSizeGripEnabled(false);
        const auto *counts = gui().widget().statusBar()->findChild<QLabel *>("status_counts");
        const auto text_right = [this, counts] {
            return counts->mapTo(&gui().widget(), counts->contentsRect().bottomRight()).x();
        };
        QTRY_COMPARE(text_right(), place(gui().property_scroll()).right());
    }

    void the_network_box_grows_with_its_entries()
    {
        const QWidget *left = gui().property_splitter()->widget(0);
        const int least = left->minimumSizeHint().width();
        const int before = gui().network_box()->width();
        const QString name = "enx00e04c680a3b (USB)";
        gui().network_box()->addItem(name);
        gui().network_box()->setCurrentText(name);
        QTRY_VERIFY(gui().network_box()->width() > before);
        QVERIFY(gui().network_box()->width()
                > gui().network_box()->fontMetrics().horizontalAdvance(name));
        QCOMPARE(left->minimumSizeHint().width(), least);
    }

    void every_window_has_the_icon_in_all_sizes()
    {
        const QList<QSize> sizes = gui().widget().windowIcon().availableSizes();
        for (const int size : {16, 22, 24, 32, 48, 64, 128, 256, 512})
            QVERIFY2(sizes.contains(QSize(size, size)), qPrintable(QString::number(size)));
        const QWidget other;
        QCOMPARE(other.windowIcon().availableSizes(), sizes);
    }

    void the_icon_has_the_picture_of_each_size()
    {
        const QIcon icon = gui().widget().windowIcon();
        for (const QSize &size : icon.availableSizes()) {
            const QImage drawn(QString(":/icons/window/%1.png").arg(size.width()));
            QVERIFY(!drawn.isNull());
            QCOMPARE(icon.pixmap(size).toImage(), QPixmap::fromImage(drawn).toImage());
        }
        QCOMPARE(icon.pixmap(20, 20).size(), QSize(20, 20));
        QCOMPARE(icon.pixmap(40, 30).size(), QSize(30, 30));
        QCOMPARE(icon.pixmap(1000, 1000).size(), QSize(512, 512));
        QImage painted(32, 32, QImage::Format_ARGB32_Premultiplied);
        painted.fill(Qt::transparent);
        QPainter painter(&painted);
        icon.paint(&painter, painted.rect());
        painter.end();
        QCOMPARE(painted, QImage(":/icons/window/32.png").convertToFormat(painted.format()));
    }

    void a_long_text_scrolls_inside_its_box()
    {
        QString text = "<b></b>";
        for (int i = 0; i < 200; ++i)
            text += QString("10.0.0.%1: network not found<br>").arg(i);
        const Box box = show_box(text);
        const int screen = QGuiApplication::primaryScreen()->availableGeometry().height();
        QVERIFY2(box.size.height() < screen, qPrintable(QString::number(box.size.height())));
        QVERIFY(box.scroll_range > 0);
        QCOMPARE(box.text, text);
        QCOMPARE(box.title, QString("Network error"));
    }

    void a_short_text_has_no_scroll_area()
    {
        const Box box = show_box("<b></b>10.0.0.1: network not found");
        QCOMPARE(box.scroll_range, 0);
        QVERIFY(box.size.height() < 300);
    }

    // Three fifths of the screen, and no wider than its text and a scroll bar.
    void a_long_text_takes_most_of_the_screen()
    {
        DialogProbe probe;
        QSize area_size;
        QSize text_size;
        bool is_plain = false;
        probe.answer = [&area_size, &text_size, &is_plain](QDialog *dialog) {
            const auto *area = dialog->findChild<QScrollArea *>();
            const auto *label = dialog->findChild<QLabel *>("qt_msgbox_label");
            area_size = area->size();
            text_size = label->sizeHint() + QSize(area->verticalScrollBar()->sizeHint().width(), 0);
            is_plain = area->widgetResizable() && area->frameShape() == QFrame::NoFrame
                && label->alignment() == (Qt::AlignTop | Qt::AlignLeft) && area->widget() == label;
            DialogProbe::press_default(dialog);
        };
        show_message_box(&gui().widget(), QMessageBox::Information, "Network info",
                         QString("loopback IPv4 127.0.0.1\n").repeated(300));
        const QSize screen = QGuiApplication::primaryScreen()->availableGeometry().size();
        QCOMPARE(area_size, QSize(text_size.width(), qRound(0.6 * screen.height())));
        QVERIFY(text_size.width() < screen.width() / 2);
        QVERIFY(is_plain);
    }

    void a_box_shows_what_kind_of_news_it_brings()
    {
        DialogProbe probe;
        std::vector<QMessageBox::Icon> icons;
        probe.answer = [&icons](QDialog *dialog) {
            const auto *box = qobject_cast<QMessageBox *>(dialog);
            icons.push_back(box->icon());
            QCOMPARE(box->standardButtons(), QMessageBox::Ok);
            DialogProbe::press_default(dialog);
        };
        show_network_errors(&gui().widget(), {});
        show_network_errors(&gui().widget(), "10.0.0.1: network not found");
        show_message_box(&gui().widget(), QMessageBox::Information, "Network info", "none");
        QCOMPARE(icons, (std::vector{QMessageBox::Warning, QMessageBox::Information}));
    }

    void handles_of_the_curve_can_be_told_apart_however_low_it_is()
    {
        QCOMPARE(gui().curve()->minimumHeight(), 120);
    }

    void dividers_collapse_nothing()
    {
        gui().property_splitter()->setSizes({0, 2000});
        QVERIFY(gui().property_splitter()->sizes().at(0) > 0);
        gui().property_splitter()->setSizes({2000, 0});
        QVERIFY(gui().property_splitter()->sizes().at(1) > 0);
        gui().eq_button()->click();
        QCoreApplication::processEvents();
        gui().eq_splitter()->setSizes({2000, 0});
        QVERIFY(gui().curve()->height() >= 100);
        gui().eq_splitter()->setSizes({0, 2000});
        QVERIFY(gui().eq_splitter()->sizes().at(0) > 0);
    }

    // As earlier versions left it.
    void a_saved_state_with_a_collapsed_child_opens_it_again()
    {
        gui().eq_button()->click();
        for (QSplitter *splitter : {gui().property_splitter(), gui().eq_splitter()}) {
            splitter->setChildrenCollapsible(true);
            splitter->setSizes({2000, 0});
            QCOMPARE(splitter->sizes().at(1), 0);
        }
        gui().close();
        window->start();
        gui().show();
        for (QSplitter *splitter : {gui().property_splitter(), gui().eq_splitter()}) {
            QVERIFY(splitter->sizes().at(1) > 0);
            QVERIFY(!splitter->childrenCollapsible());
        }
    }
};

WINDOW_TEST_MAIN(LayoutTest)
#include "layout_test.moc"
