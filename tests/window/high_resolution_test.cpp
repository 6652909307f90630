// On a desktop of scale factor 2 everything has twice the pixels, fits, and is hit where it is
// seen.
#include "gui/program_pictures.h"
#include "support/curve_mouse.h"
#include "support/panel_case.h"

#include <QApplication>
#include <QScreen>
#include <QSplitter>

class HighResolutionTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<PanelCase> window;

private slots:
    void init()
    {
        window = std::make_unique<PanelCase>();
        window->gui->resize(1500, 800);
        window->add({{"ui", QJsonObject{{"name", "Front fill left"}}},
                     {"dsp",
                      QJsonObject{{"eq_en", true},
                                  {"eq0", eq_band(2, 100, 1.4, 6)},
                                  {"eq1", eq_band(2, 400, 1.4, -6)},
                                  {"eq2", eq_band(2, 1000, 1.4, 3)},
                                  {"eq3", eq_band(3, 3150, 4, -9)},
                                  {"eq4", eq_band(4, 9000, 0.7, 3)}}}});
        window->select({0});
    }
    void cleanup() { window.reset(); }

    void everything_is_painted_with_twice_the_pixels()
    {
        const QPixmap picture = window->gui->widget().grab();
        QCOMPARE(picture.devicePixelRatio(), 2.0);
        QCOMPARE(picture.size(), window->gui->widget().size() * 2);
    }

    void the_first_window_fits_the_screen()
    {
        const WindowCase fresh;
        const QSize screen = QGuiApplication::primaryScreen()->geometry().size();
        QVERIFY(fresh.gui->widget().width() <= std::max(screen.width(), 600));
        QVERIFY(fresh.gui->widget().height() <= screen.height());
    }

    void pictures_of_products_have_a_point_for_every_pixel()
    {
        const int row = window->gui->row_of(window->devices[0]->record());
        const QIcon icon
            = window->gui->model().item(row, 0)->data(Qt::DecorationRole).value<QIcon>();
        const int wanted = window->gui->view()->iconSize().width() * 2;
        QVERIFY(icon.availableSizes().constFirst().width() >= wanted);
    }

    // Their size counts the scale factor itself, and is scaled once more.
    void pictures_of_products_grow_twice()
    {
        QCOMPARE(window->gui->view()->iconSize(), QSize(64, 64));
    }

    // Where dots stand for the middle of a name, most of it is still there.
    void beside_their_pictures_names_of_products_can_be_read()
    {
        const DeviceListView *view = window->gui->view();
        const QModelIndex product = window->gui->model().index(0, window->column("product_id"));
        const int least = view->iconSize().width()
            + view->fontMetrics().horizontalAdvance(QString(10, QChar('n')));
        int narrowest = view->sizeHintForIndex(product).width();
        for (int width = 1700; width > 1100; width -= 20) {
            window->gui->resize(width, 600);
            window->gui->property_splitter()->setSizes({1, 0});
            QTRY_VERIFY(view->has_settled());
            narrowest = std::min(narrowest, view->columnWidth(product.column()));
        }
        QVERIFY2(narrowest >= least, qPrintable(QString::number(narrowest)));
        QVERIFY(narrowest < view->sizeHintForIndex(product).width()); // dots were seen
    }

    void no_caption_and_no_button_is_cut()
    {
        window->gui->property_splitter()->setSizes({800, 700});
        for (const auto &[key, prop] : window->gui->rows())
            if (prop.caption && prop.caption->isVisible())
                QVERIFY2(prop.caption->width() >= prop.caption->sizeHint().width()
                             && prop.caption->height() >= prop.caption->sizeHint().height(),
                         key.c_str());
        for (const QPushButton *button :
             {window->gui->edit_button(), window->gui->identify_button(), window->gui->eq_button()})
            QVERIFY2(button->width() >= button->sizeHint().width(), qPrintable(button->text()));
    }

    void splash_screen_and_about_box_have_a_pixel_for_every_pixel()
    {
        const qreal ratio = window->gui->widget().devicePixelRatioF();
        for (const int width : {0, 256}) {
            const QPixmap picture = wide_picture(width, ratio);
            QCOMPARE(picture.devicePixelRatio(), ratio);
            QCOMPARE(picture.width(), 2 * (width > 0 ? width : 640));
            // Not the small one blown up: that has no sharper edges than at scale factor 1.
            const QImage blown_up = wide_picture(width, 1).toImage().scaledToWidth(
                picture.width(), Qt::SmoothTransformation);
            QVERIFY(picture.toImage().convertToFormat(QImage::Format_RGB32)
                    != blown_up.convertToFormat(QImage::Format_RGB32));
        }
    }

    void rows_of_the_list_are_as_high_as_their_pictures()
    {
        const QModelIndex index = window->gui->model().index(0, 0);
        QVERIFY(window->gui->view()->visualRect(index).height()
                >= window->gui->view()->iconSize().height());
    }

    void small_pictures_have_a_pixel_for_every_pixel()
    {
        for (const QToolButton *button :
             {window->gui->confirm_button(), window->gui->cancel_button()}) {
            const QPixmap picture = button->icon().pixmap(QSize(16, 16));
            QCOMPARE(picture.devicePixelRatio(), 2.0);
            QCOMPARE(picture.height(), 32);
        }
    }

    void markers_are_hit_where_they_are_painted()
    {
        window->gui->eq_button()->setChecked(true);
        QTest::qWait(0);
        window->press_edit();
        const CurveMouse mouse(window->gui.get());
        const QImage picture = mouse.curve().grab().toImage();
        for (const int number : {1, 2, 3, 4, 5}) {
            const QPoint marker = mouse.marker(number);
            // The middle of the cross.
            QVERIFY(picture.pixelColor(marker * 2).lightness() > 90);
            mouse.move(marker);
            QCOMPARE(mouse.curve().filters.at(mouse.curve().hover_index)->number, number);
            const float before = mouse.filter(number)->gain;
            mouse.drag(marker, marker + QPoint(0, 12));
            QVERIFY(mouse.filter(number)->gain < before);
        }
    }
};

int main(int argc, char **argv)
{
    qputenv("QT_SCALE_FACTOR", "2");
    return run_window_test<HighResolutionTest>(argc, argv, __FILE__);
}
#include "high_resolution_test.moc"
