// The number field with a unit and a mixed value.
#include "gui/value_spinner.h"
#include "support/vectors.h"

#include <QLineEdit>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <QtTest>

class ValueSpinnerTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QLocale::setDefault(QLocale::c()); }
    void verdict_is_as_computed_elsewhere_data() { add_vector_rows("parse_value", "parse"); }
    void verdict_is_as_computed_elsewhere();
    void value_is_as_computed_elsewhere_data() { add_vector_rows("parse_value", "value"); }
    void value_is_as_computed_elsewhere();
    void text_is_as_computed_elsewhere_data() { add_vector_rows("parse_value", "text"); }
    void text_is_as_computed_elsewhere();
    void dots_are_acceptable_in_a_field_that_was_never_mixed();
    void mixed_field_shows_dots_and_stands_at_its_minimum();
    void typing_clears_mixed_and_keeps_it_allowed();
    void typing_the_minimum_into_a_mixed_field_is_seen_at_the_line_edit();
    void stepping_a_mixed_field_leaves_it_mixed();
    void typed_number_is_bounded();
    void unit_alone_falls_back_when_editing_ends();
    void unfocused_wheel_changes_nothing_and_scrolls_nothing();
    void focused_wheel_turns_the_number();
    void unbounded_field_takes_what_can_be_typed();
};

namespace {

void set_up(ValueSpinner &spinner, double minimum, double maximum, const QString &unit = {})
{
    spinner.unit = unit;
    spinner.setDecimals(1);
    spinner.setMinimum(minimum);
    spinner.setMaximum(maximum);
}

void set_mixed(ValueSpinner &spinner)
{
    spinner.mixed_allowed = true;
    spinner.mixed = true;
    spinner.setValue(spinner.minimum());
}

void type(ValueSpinner &spinner, const QString &text)
{
    spinner.lineEdit()->selectAll();
    QTest::keyClicks(&spinner, text);
}

// As the desktop's own event: only such a one travels up to the parents when ignored.
void turn_wheel(QWidget *widget)
{
    const QPointF at = widget->rect().center();
    QWheelEvent event(at, widget->mapToGlobal(at.toPoint()), {}, {0, 120}, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QSpontaneKeyEvent::setSpontaneous(&event);
    qApp->notify(widget, &event);
}

} // namespace

void ValueSpinnerTest::verdict_is_as_computed_elsewhere()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    ValueSpinner spinner;
    spinner.unit = input.value("unit").toString();
    QString text = input.value("text").toString();
    int position = 0;
    const bool acceptable = spinner.validate(text, position) == QValidator::Acceptable;
    QCOMPARE(acceptable, expect.value("validate").toString() == "acceptable");
    QVERIFY(acceptable || spinner.validate(text, position) == QValidator::Intermediate);
    QCOMPARE(text, input.value("text").toString());
}

void ValueSpinnerTest::value_is_as_computed_elsewhere()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    ValueSpinner spinner;
    set_up(spinner, input.value("minimum").toDouble(), 24000, input.value("unit").toString());
    spinner.mixed_allowed = input.value("mixed_allowed").toBool();
    QCOMPARE(spinner.valueFromText(input.value("text").toString()),
             expect.value("value").toDouble());
    QCOMPARE(spinner.mixed, expect.value("mixed").toBool());
}

void ValueSpinnerTest::text_is_as_computed_elsewhere()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    ValueSpinner spinner;
    spinner.setDecimals(input.value("decimals").toInt());
    spinner.unit = input.value("unit").toString();
    spinner.mixed = input.value("mixed").toBool();
    QCOMPARE(spinner.textFromValue(input.value("value").toDouble()),
             expect.value("text").toString());
}

void ValueSpinnerTest::dots_are_acceptable_in_a_field_that_was_never_mixed()
{
    ValueSpinner spinner;
    set_up(spinner, 10, 24000, "Hz");
    QString text = "...";
    int position = 3;
    QCOMPARE(spinner.validate(text, position), QValidator::Acceptable);
    QCOMPARE(spinner.valueFromText("..."), 10.0);
    QVERIFY(!spinner.mixed);
}

void ValueSpinnerTest::mixed_field_shows_dots_and_stands_at_its_minimum()
{
    ValueSpinner spinner;
    set_up(spinner, -25, 25, "dB");
    set_mixed(spinner);
    QCOMPARE(spinner.text(), QString("..."));
    QCOMPARE(spinner.value(), -25.0);
    spinner.mixed_allowed = false;
    spinner.mixed = false;
    spinner.setValue(-25);
    QCOMPARE(spinner.text(), QString("-25.0 dB"));
}

void ValueSpinnerTest::typing_clears_mixed_and_keeps_it_allowed()
{
    ValueSpinner spinner;
    set_up(spinner, 0, 935, "m");
    set_mixed(spinner);
    QSignalSpy changed(&spinner, QOverload<double>::of(&QDoubleSpinBox::valueChanged));
    type(spinner, "5");
    QVERIFY(!spinner.mixed);
    QVERIFY(spinner.mixed_allowed);
    QCOMPARE(spinner.value(), 5.0);
    QCOMPARE(changed.count(), 1);
    type(spinner, "...");
    QVERIFY(spinner.mixed);
    QCOMPARE(spinner.value(), 0.0);
}

void ValueSpinnerTest::typing_the_minimum_into_a_mixed_field_is_seen_at_the_line_edit()
{
    ValueSpinner spinner;
    set_up(spinner, 0, 935, "m");
    set_mixed(spinner);
    QSignalSpy changed(&spinner, QOverload<double>::of(&QDoubleSpinBox::valueChanged));
    QList<bool> mixed_after_text;
    connect(spinner.lineEdit(), &QLineEdit::textChanged, &spinner,
            [&spinner, &mixed_after_text] { mixed_after_text << spinner.mixed; });
    type(spinner, "0");
    QCOMPARE(changed.count(), 0); // which is why the panel listens to the line edit
    QVERIFY(!mixed_after_text.isEmpty());
    QVERIFY(!mixed_after_text.last());
    QCOMPARE(spinner.value(), 0.0);
}

void ValueSpinnerTest::stepping_a_mixed_field_leaves_it_mixed()
{
    ValueSpinner spinner;
    set_up(spinner, -25, 25, "dB");
    set_mixed(spinner);
    QTest::keyClick(&spinner, Qt::Key_Up);
    QVERIFY(spinner.mixed);
    QCOMPARE(spinner.text(), QString("..."));
}

void ValueSpinnerTest::typed_number_is_bounded()
{
    ValueSpinner spinner;
    set_up(spinner, 10, 24000, "Hz");
    type(spinner, "30k");
    QTest::keyClick(&spinner, Qt::Key_Return);
    QCOMPARE(spinner.value(), 24000.0);
    type(spinner, "2k");
    QTest::keyClick(&spinner, Qt::Key_Return);
    QCOMPARE(spinner.value(), 2000.0);
    QCOMPARE(spinner.text(), QString("2000.0 Hz"));
}

void ValueSpinnerTest::unit_alone_falls_back_when_editing_ends()
{
    ValueSpinner spinner;
    set_up(spinner, 0, 935, "m");
    spinner.setValue(7);
    type(spinner, "m");
    QCOMPARE(spinner.value(), 7.0);
    QTest::keyClick(&spinner, Qt::Key_Return);
    QCOMPARE(spinner.text(), QString("7.0 m"));
}

void ValueSpinnerTest::unfocused_wheel_changes_nothing_and_scrolls_nothing()
{
    QScrollArea area;
    auto *content = new QWidget;
    content->setMinimumHeight(2000);
    auto *spinner = new ValueSpinner(content);
    spinner->setGeometry(10, 210, 120, 30);
    spinner->setValue(50);
    area.setWidget(content);
    area.resize(300, 300);
    area.show();
    area.verticalScrollBar()->setValue(100);
    QVERIFY(QTest::qWaitForWindowActive(&area));
    area.setFocus();

    turn_wheel(spinner->lineEdit());
    QCOMPARE(spinner->value(), 50.0);
    QCOMPARE(area.verticalScrollBar()->value(), 100);
    QVERIFY(!spinner->hasFocus());
    QCOMPARE(spinner->focusPolicy(), Qt::StrongFocus);
}

void ValueSpinnerTest::focused_wheel_turns_the_number()
{
    ValueSpinner spinner;
    set_up(spinner, 0, 100);
    spinner.setValue(50);
    spinner.show();
    spinner.setFocus();
    QVERIFY(QTest::qWaitForWindowActive(&spinner));
    QTRY_VERIFY(spinner.hasFocus());
    turn_wheel(&spinner);
    QVERIFY(spinner.value() > 50);
}

void ValueSpinnerTest::unbounded_field_takes_what_can_be_typed()
{
    ValueSpinner spinner;
    set_up(spinner, -qInf(), qInf());
    set_mixed(spinner);
    QCOMPARE(spinner.text(), QString("..."));
    QVERIFY(spinner.sizeHint().isValid());
    for (const QString text : {"nan", "inf", "-inf", "1e308", "1e999", "12"})
        type(spinner, text);
    QCOMPARE(spinner.value(), 12.0);
}

QTEST_MAIN(ValueSpinnerTest)
#include "value_spinner_test.moc"
