// The list as text for a spreadsheet.
#include "gui/list_copy.h"

namespace {

QString as_one_cell(QString text)
{
    for (QChar &letter : text)
        if (letter < QChar(' ') || letter == QChar::LineSeparator
            || letter == QChar::ParagraphSeparator)
            letter = ' ';
    return text;
}

QString as_line(const QStringList &cells)
{
    QStringList texts;
    for (const QString &cell : cells)
        texts.append(as_one_cell(cell));
    return texts.join('\t') + '\n';
}

QString as_html_row(const QStringList &cells, const QString &tag)
{
    QString row = "<tr>";
    for (const QString &cell : cells)
        row += "<" + tag + ">" + as_one_cell(cell).toHtmlEscaped() + "</" + tag + ">";
    return row + "</tr>\n";
}

} // namespace

QString tab_separated(const CopiedList &list)
{
    QString text = as_line(list.captions);
    for (const QStringList &row : list.rows)
        text += as_line(row);
    return text;
}

QString html_table(const CopiedList &list)
{
    QString html = "<table>\n" + as_html_row(list.captions, "th");
    for (const QStringList &row : list.rows)
        html += as_html_row(row, "td");
    return html + "</table>\n";
}
