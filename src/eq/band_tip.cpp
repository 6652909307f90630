// The numbers of an equaliser's band as a tool tip tells them.
#include "eq/band_tip.h"

#include "eq/eq_rows.h"
#include "gui/value_text.h"

#include <QStringList>

QString band_tip(int number, const RowByKey &row_by_key)
{
    QStringList lines;
    for (const char *name : {"freq", "gain", "q"}) {
        const Property *row = row_by_key(eq_row_key(number - 1, name));
        if (!row)
            continue;
        QString text;
        QVariant icon; // none has one
        value_text(row->desc, row->value, row->uniform, &text, &icon);
        lines.append(QString::fromStdString(row->desc.label) + QStringLiteral(": ") + text);
    }
    return lines.join(QLatin1Char('\n'));
}
