// A label that is cut rather than widening what it stands in, and that can be clicked.
#include "gui/elided_label.h"

#include <QSignalSpy>
#include <QtTest>

class ElidedLabelTest : public QObject
{
    Q_OBJECT

    static QImage picture(const QString &text, int width)
    {
        ElidedLabel label;
        label.setText(text);
        label.setContentsMargins(4, 0, 6, 0);
        label.resize(width, 20);
        return label.grab().toImage();
    }

private slots:
    void a_long_text_ends_in_dots()
    {
        const QString text = "Sent to 12 of 12 devices. <b>Left";
        const QFontMetrics metrics(QApplication::font());
        const int room = metrics.horizontalAdvance("Sent to 12 of");
        const QString shortened = metrics.elidedText(text, Qt::ElideRight, room);
        QVERIFY(shortened.endsWith("…"));
        QCOMPARE(picture(text, room + 10), picture(shortened, room + 10));
        QVERIFY(picture(text, room + 10) != picture("", room + 10));
    }

    void it_stands_at_the_left_in_the_middle_of_its_height()
    {
        const QImage image = picture("HHHH", 200);
        QRect ink;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                if (image.pixel(x, y) != image.pixel(199, 0))
                    ink |= QRect(x, y, 1, 1);
        QVERIFY(!ink.isEmpty());
        QVERIFY(ink.left() >= 4 && ink.left() <= 6);
        QVERIFY(std::abs(ink.center().y() - 10) <= 2);
    }

    void it_asks_for_no_width()
    {
        const ElidedLabel label;
        QCOMPARE(label.sizePolicy().horizontalPolicy(), QSizePolicy::Ignored);
        QCOMPARE(label.sizePolicy().verticalPolicy(), QSizePolicy::Preferred);
        QCOMPARE(label.textFormat(), Qt::PlainText);
    }

    void a_click_is_a_left_button_that_is_released_inside()
    {
        ElidedLabel label;
        label.resize(100, 20);
        QSignalSpy clicks(&label, &ElidedLabel::clicked);
        QTest::mouseClick(&label, Qt::RightButton, {}, {10, 10});
        QTest::mousePress(&label, Qt::LeftButton, {}, {10, 10});
        QTest::mouseRelease(&label, Qt::LeftButton, {}, {10, 40});
        QCOMPARE(clicks.size(), 0);
        QTest::mouseClick(&label, Qt::LeftButton, {}, {10, 10});
        QCOMPARE(clicks.size(), 1);
    }
};

QTEST_MAIN(ElidedLabelTest)
#include "elided_label_test.moc"
