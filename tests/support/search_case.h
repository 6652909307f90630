// A window that is searched.
#pragma once

#include "support/panel_case.h"

#include <QComboBox>

inline QJsonObject named(const QString &name)
{
    return {{"ui", QJsonObject{{"name", name}}}};
}

class SearchCase : public QObject
{
protected:
    std::unique_ptr<PanelCase> window;

    WindowHandle &gui() { return *window->gui; }
    QLineEdit *box() { return gui().search_box()->lineEdit(); }

    void search(const QString &text)
    {
        box()->setFocus();
        QTest::keyClick(box(), Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(box(), Qt::Key_Delete);
        QTest::keyClicks(box(), text);
    }

    // The names in the rows that show, top down.
    QStringList shown_names()
    {
        QStringList names;
        for (int row = 0; row < gui().model().rowCount(); ++row)
            if (!gui().view()->isRowHidden(row, QModelIndex()))
                names.append(gui().model().item(row, window->column("ui/name"))->text());
        return names;
    }

    QStringList history()
    {
        QStringList texts;
        for (int i = 0; i < gui().search_box()->count(); ++i)
            texts.append(gui().search_box()->itemText(i));
        return texts;
    }
};
