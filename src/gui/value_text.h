// The display text of a property's value, for panel rows and list cells alike.
#pragma once

#include "model/meta.h"

#include <QString>
#include <QVariant>

// Writes the text of `value` to `out_str`: "..." when devices disagree, "?" without a value, else
// by the kind of `desc`, with its unit behind numbers and texts. Neither pointer may be null.
// `out_icon`, which a cell's decoration role would take, is never written: no kind has an icon so
// far.
void value_text(const PropertyDesc &desc, const QVariant &value, bool uniform, QString *out_str,
                QVariant *out_icon);

// The first choice whose value equals `value`; null when there is none.
const PropertyChoice *find_choice(const std::vector<PropertyChoice> &choices,
                                  const QVariant &value);
