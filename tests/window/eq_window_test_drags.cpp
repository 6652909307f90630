// The equaliser in the shown main window: what is dragged reaches the rows and the device.
#include "eq/curve_grid.h"
#include "support/dialog_probe.h"
#include "support/eq_case.h"

class EqDragsTest : public EqWindowCase
{
    Q_OBJECT

private slots:
    void init() { window = std::make_unique<EqCase>(); }
    void cleanup() { window.reset(); }
    void a_thousand_random_drags_reach_the_rows_and_the_device();
    void all_three_rows_count_as_edited_and_only_what_differs_goes_out();
    void a_float_that_differs_in_its_last_digit_is_sent();
    void a_dragged_shelf_sends_a_q_of_zero();
    void stubs_pulled_together_send_no_q();
    void a_refresh_after_a_drag_takes_the_band_anew();
    void a_drag_is_not_followed_by_a_refresh();
    void an_edited_row_moves_its_band_before_confirm();
    void a_band_stays_hovered_while_reports_say_the_same();
    void a_changed_report_takes_the_hover();
    void a_drag_changes_the_band_of_the_device_that_is_selected();
};

void EqDragsTest::a_thousand_random_drags_reach_the_rows_and_the_device()
{
    show_device(all_types());
    random.seed(4);
    BandNumbers reported = reported_values();
    BandNumbers rows = reported;
    int moves_that_edited = 0;
    QList<QJsonObject> expected_commands;
    window->press_edit();
    for (int drag = 1; drag <= 1000; ++drag) {
        // A picture for each move took four fifths of the time.
        curve().setUpdatesEnabled(drag % 10 == 0);
        drag_at_random(rows, moves_that_edited);
        if (QTest::currentTestFailed())
            return;
        if (drag % 25 != 0)
            continue;
        if (drag % 50 == 0) {
            window->press_cancel();
        } else {
            window->confirm();
            const QJsonObject bands = differences(rows, reported);
            if (!bands.isEmpty())
                expected_commands.append(set_params({{"dsp", bands}}));
            QCOMPARE(sent_to(0), expected_commands);
            accept(bands);
        }
        QCoreApplication::processEvents(); // the curve follows a report in the next round
        reported = reported_values();
        rows = reported;
        compare_rows(rows);
        QCOMPARE(mouse().numbers(), QList<int>({1, 2, 3, 5}));
        for (const Filter *filter : curve().filters) {
            const FilterParams params = params_of(filter);
            const int index = filter->number - 1;
            QCOMPARE(params.freq, static_cast<float>(rows[eq_row_key(index, "freq")]));
            QCOMPARE(params.gain, static_cast<float>(rows[eq_row_key(index, "gain")]));
        }
        window->press_edit();
    }
    QCOMPARE(sent_to(0), expected_commands);
    QVERIFY(expected_commands.size() >= 15);
    QVERIFY(moves_that_edited > 300);
}

void EqDragsTest::all_three_rows_count_as_edited_and_only_what_differs_goes_out()
{
    show_device(one_band(eq_band(EQ_PEQ, 1000, 1.0, 0.5)));
    window->press_edit();
    mouse().click(mouse().marker(1)); // its handles show
    const QPoint marker = mouse().marker(1);
    const QPoint strip = marker + QPoint(0, 60);
    const float gain_before = mouse().filter(1)->gain;
    mouse().drag(strip, strip + QPoint(30, 0));
    for (const char *name : NUMBERS)
        QVERIFY(window->band_row(1, name).edited);
    QVERIFY(!window->band_row(1, "type").edited);
    QVERIFY(!window->band_row(1, "en").edited);
    QCOMPARE(mouse().filter(1)->gain, gain_before);
    const int freq = window->band_row(1, "freq").value.toInt();
    QVERIFY(freq > 1000);
    window->confirm();
    const QJsonObject expected{{"eq0", QJsonObject{{"freq", freq}}}};
    QCOMPARE(sent_to(0), QList<QJsonObject>{set_params({{"dsp", expected}})});
}

void EqDragsTest::a_float_that_differs_in_its_last_digit_is_sent()
{
    show_device(one_band(eq_band(EQ_PEQ, 1000, 0.7, 0.5)));
    window->press_edit();
    mouse().click(mouse().marker(1));
    const QPoint strip = mouse().marker(1) + QPoint(0, 60);
    mouse().drag(strip, strip + QPoint(30, 0));
    window->confirm();
    const QJsonObject sent = sent_to(0).value(0).value("dsp").toObject().value("eq0").toObject();
    QCOMPARE(sent.keys(), QStringList({"freq", "q"}));
    QVERIFY(sent.value("q").toDouble() == double{0.7F});
    QVERIFY(sent.value("q").toDouble() != 0.7);
}

void EqDragsTest::a_dragged_shelf_sends_a_q_of_zero()
{
    DialogProbe probe;
    show_device(one_band(eq_band(EQ_LSHELF, 1000, 1.0, 0.0)));
    window->press_edit();
    const QPoint marker = mouse().marker(1);
    mouse().click(marker); // a drag by the marker itself would round the frequency
    const QPoint strip = marker + QPoint(100, 0);
    mouse().drag(strip, strip - QPoint(0, 40));
    QCOMPARE(window->band_row(1, "q").value, QVariant(0.0));
    QCOMPARE(window->band_row(1, "q").spinner->text(), QString("0.1"));
    const double gain = window->band_row(1, "gain").value.toDouble();
    QVERIFY(gain > 0);
    window->confirm();
    QVERIFY(probe.texts.isEmpty());
    const QJsonObject expected{{"eq0", QJsonObject{{"q", 0}, {"gain", gain}}}};
    QCOMPARE(sent_to(0), QList<QJsonObject>{set_params({{"dsp", expected}})});
}

void EqDragsTest::stubs_pulled_together_send_no_q()
{
    show_device(one_band(eq_band(EQ_PEQ, 1000, 1.0, 6.0)));
    window->press_edit();
    mouse().click(mouse().marker(1));
    auto *peak = dynamic_cast<FilterPEQ *>(mouse().filter(1));
    const QPoint stub(curve().grid->freq_to_x(peak->low_edge), mouse().marker(1).y() + 15);
    mouse().press(stub);
    QCOMPARE(peak->drag_state, 4);
    const QPoint beyond(mouse().marker(1).x() + 50, stub.y());
    mouse().move(beyond);
    mouse().release(beyond);
    QVERIFY(std::isinf(window->band_row(1, "q").value.toDouble()));
    const double gain = window->band_row(1, "gain").value.toDouble();
    QCOMPARE(gain, 6.0);
    window->confirm();
    QVERIFY(sent_to(0).isEmpty());
    QVERIFY(!gui().is_editing());
}

void EqDragsTest::a_refresh_after_a_drag_takes_the_band_anew()
{
    show_device(one_band(eq_band(EQ_PEQ, 1000, 1.0, 6.0)));
    window->press_edit();
    mouse().click(mouse().marker(1));
    const QPoint strip = mouse().marker(1) + QPoint(0, 60);
    mouse().drag(strip, strip + QPoint(7, 0));
    QCOMPARE(curve().active_index, 0);
    const float freq = mouse().filter(1)->freq;
    QVERIFY(freq != std::trunc(freq));
    gui().refresh_eq_view();
    QCOMPARE(curve().active_index, -1);
    QCOMPARE(mouse().filter(1)->freq, std::trunc(freq));
}

void EqDragsTest::a_drag_is_not_followed_by_a_refresh()
{
    FakeDevice &shown = show_device(one_band(eq_band(EQ_PEQ, 1000, 1.0, 6.0)));
    window->press_edit();
    mouse().click(mouse().marker(1));
    const QList<Filter *> filters = curve().filters;
    const QPoint strip = mouse().marker(1) + QPoint(0, 60);
    mouse().press(strip);
    for (int step = 1; step <= 20; ++step) {
        mouse().move(strip + QPoint(step, 0));
        shown.report("dsp", "eq0", eq_band(EQ_PEQ, 1000 + step, 1.0, 3.0));
        QVERIFY(!gui().panel_timer().isActive());
        QCoreApplication::processEvents();
        QCOMPARE(curve().filters, filters);
        QCOMPARE(curve().active_index, 0);
    }
    mouse().release(strip);
    window->press_cancel();
    QCOMPARE(window->band_row(1, "freq").value, QVariant(1020));
    QCOMPARE(mouse().filter(1)->gain, 3.0F);
}

void EqDragsTest::an_edited_row_moves_its_band_before_confirm()
{
    show_device(one_band(eq_band(EQ_PEQ, 1000, 1.0, 6.0)));
    window->press_edit();
    window->type("dsp/eq0/gain", "-6");
    QCOMPARE(mouse().filter(1)->gain, -6.0F);
    window->type("dsp/eq0/freq", "2k");
    QCOMPARE(mouse().filter(1)->freq, 2000.0F);
    QVERIFY(sent_to(0).isEmpty());
    window->press_cancel();
    QCOMPARE(mouse().filter(1)->gain, 6.0F);
    QCOMPARE(mouse().filter(1)->freq, 1000.0F);
}

void EqDragsTest::a_band_stays_hovered_while_reports_say_the_same()
{
    FakeDevice &shown = show_device(all_types());
    mouse().move(mouse().marker(3));
    QCOMPARE(curve().hover_index, 2);
    const QList<Filter *> filters = curve().filters;
    const uint64_t responses = curve().grid->responses_computed;
    for (int i = 0; i < 200; ++i) {
        shown.report();
        QCoreApplication::processEvents();
    }
    shown.report("ui", "name", "Another name");
    QTRY_VERIFY(!gui().panel_timer().isActive());
    QCOMPARE(curve().hover_index, 2);
    QCOMPARE(curve().filters, filters);
    QCOMPARE(curve().grid->responses_computed, responses);
}

void EqDragsTest::a_changed_report_takes_the_hover()
{
    FakeDevice &shown = show_device(all_types());
    mouse().move(mouse().marker(3));
    QCOMPARE(curve().hover_index, 2);
    shown.report("dsp", "eq4", eq_band(EQ_HSHELF, 9000, 1.0, 2.0));
    QTRY_COMPARE(mouse().filter(5)->gain, 2.0F);
    QCOMPARE(curve().hover_index, -1);
}

void EqDragsTest::a_drag_changes_the_band_of_the_device_that_is_selected()
{
    const QJsonObject on = eq_band(EQ_PEQ, 1000, 1.0, 6.0);
    const QJsonObject off = eq_band(EQ_PEQ, 1000, 1.0, 6.0, false);
    const auto bands = [](const QJsonObject &first, const QJsonObject &second) {
        return QJsonObject{{"dsp", QJsonObject{{"eq_en", true}, {"eq0", first}, {"eq1", second}}}};
    };
    show_device(bands(on, off));
    QCOMPARE(mouse().numbers(), QList<int>({1}));
    show_device(bands(off, on)); // equal values in another band
    QCOMPARE(mouse().numbers(), QList<int>({2}));
    window->press_edit();
    mouse().click(mouse().marker(2));
    const QPoint strip = mouse().marker(2) + QPoint(0, 60);
    mouse().drag(strip, strip + QPoint(30, 0));
    const int freq = window->band_row(2, "freq").value.toInt();
    QVERIFY(freq > 1000);
    window->confirm();
    const QJsonObject expected{{"eq1", QJsonObject{{"freq", freq}}}};
    QCOMPARE(sent_to(1), QList<QJsonObject>{set_params({{"dsp", expected}})});
    QVERIFY(sent_to(0).isEmpty());
}

TEST_PART(EqDragsTest)
#include "eq_window_test_drags.moc"
