// The list as text for a spreadsheet.
#pragma once

#include <QString>
#include <QStringList>

#include <vector>

struct CopiedList
{
    QStringList captions = {};
    std::vector<QStringList> rows = {}; // each as long as `captions`
};

// Lines of cells with tabs in between, captions first. What would break a line or a cell becomes a
// blank.
QString tab_separated(const CopiedList &list);

// The same as an HTML table.
QString html_table(const CopiedList &list);
