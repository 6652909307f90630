// The caption of a row: how much room it asks for, and how it is cut.
#include "gui/row_caption.h"
#include "support/tool_tip.h"

#include <QtTest>

namespace {

int bold_width(const QString &text)
{
    QFont font = RowCaption("").font();
    font.setBold(true);
    return QFontMetrics(font).horizontalAdvance(text);
}

} // namespace

class RowCaptionTest : public QObject
{
    Q_OBJECT

private slots:
    // Marked or not, or the editors would move when a value changes.
    void it_asks_for_the_room_of_its_bold_text()
    {
        RowCaption caption("Firmware version");
        for (const bool is_marked : {false, true}) {
            caption.set_marked(is_marked);
            QCOMPARE(caption.is_marked(), is_marked);
            QCOMPARE(caption.font().bold(), is_marked);
            QCOMPARE(caption.sizeHint().width(), bold_width("Firmware version"));
            QCOMPARE(caption.sizeHint().height(), caption.fontMetrics().height());
        }
    }

    void six_letters_and_dots_are_the_least_of_it()
    {
        QCOMPARE(RowCaption("Firmware version").minimumSizeHint().width(), bold_width("Firmwa…"));
        QCOMPARE(RowCaption("Mute").minimumSizeHint().width(), bold_width("Mute"));
    }

    void names_are_no_markup()
    {
        QCOMPARE(RowCaption("<b>Name").sizeHint().width(), bold_width("<b>Name"));
        QCOMPARE(RowCaption("Name").textFormat(), Qt::PlainText);
    }

    void what_is_cut_ends_in_dots()
    {
        RowCaption caption("Firmware version");
        const int width = caption.fontMetrics().horizontalAdvance("Firmware v");
        RowCaption shortened(
            caption.fontMetrics().elidedText(caption.text(), Qt::ElideRight, width));
        QVERIFY(shortened.text().startsWith("Firmw") && shortened.text().endsWith("…"));
        caption.setFixedWidth(width);
        shortened.setFixedWidth(width);
        QCOMPARE(caption.grab().toImage(), shortened.grab().toImage());
    }

    void one_of_several_captions_alike_tells_its_heading()
    {
        RowCaption caption("Gain");
        caption.set_group("User EQ 2");
        caption.show();
        for (const int width : {300, 5}) {
            caption.setFixedWidth(width);
            QCOMPARE(tool_tip_at(&caption), QString("User EQ 2: Gain"));
        }
        caption.setText("Level"); // as another product has it
        QCOMPARE(tool_tip_at(&caption), QString("User EQ 2: Level"));
    }

    void what_is_cut_tells_its_whole_text()
    {
        RowCaption caption("Firmware version");
        const int whole = caption.fontMetrics().horizontalAdvance(caption.text());
        caption.setFixedWidth(whole - 1);
        caption.show();
        QCOMPARE(tool_tip_at(&caption), QString("Firmware version"));
        caption.setFixedWidth(whole);
        tool_tip_at(&caption);
        QTRY_VERIFY(!QToolTip::isVisible());
    }
};

QTEST_MAIN(RowCaptionTest)
#include "row_caption_test.moc"
