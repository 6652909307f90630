// The setup assistant that is open in a window, as an operator reads and uses it.
#pragma once

#include "firmware/deppen_ass.h"
#include "gui/input_guard.h"
#include "support/fleet_window.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>

struct OpenAssistant
{
    FleetWindow &window;

    // The device whose assistant is open, null when there is none.
    Device *helped() const
    {
        for (const auto &[id, device] : window.gui->all_devices())
            if (device->has_assistant)
                return device;
        return nullptr;
    }

    DeppenAss *dialog() const { return window.gui->assistant(helped()); }

    QString text() const
    {
        Device *device = helped();
        return device ? dialog()->findChild<QLabel *>()->text() : QString();
    }

    // By words that no two pages share; 0 when none is open.
    int page() const
    {
        static const QStringList words
            = {"nothing",   "outdated firmware was", "Updating...", "must choose",
               "You chose", "Setting product",       "been setup",  "unexpectedly went",
               "Finished"};
        for (int page = 1; page < words.size(); ++page)
            if (text().contains(words.at(page)))
                return page;
        return 0;
    }

    // The page shown once `wanted` has come, or after too long a wait.
    int await_page(int wanted) const
    {
        runs_until([this, wanted] { return page() == wanted; });
        return page();
    }

    // The first moments of a page take no input.
    void wait_as_a_reader_does() const { dialog()->findChild<InputGuard *>()->lift(); }

    void press_next() const
    {
        wait_as_a_reader_does();
        for (auto *button : dialog()->findChildren<QPushButton *>())
            if (button->text() == "Next")
                QTest::mouseClick(button, Qt::LeftButton);
    }

    void choose_product() const
    {
        wait_as_a_reader_does();
        auto *combo = dialog()->findChild<QComboBox *>();
        combo->setFocus();
        for (int i = 0; i < 4; ++i)
            QTest::keyClick(combo, Qt::Key_Down);
    }

    // Does what the assistant asks for until it closes. The result tells the pages seen.
    QList<int> follow_to_the_end() const
    {
        QList<int> seen;
        Device *device = helped();
        QElapsedTimer elapsed;
        elapsed.start();
        while (device && helped() == device && !elapsed.hasExpired(30000)) {
            const int now = page();
            if (seen.isEmpty() || seen.last() != now)
                seen.append(now);
            if (now == 3)
                choose_product();
            if (now == 1 || now == 3 || now == 4 || now == 6)
                press_next();
            let_run();
        }
        return seen;
    }
};
