// Search in cell texts: what counts as a hit, and how hits are marked.
#pragma once

#include <QString>

// A plain substring, case aside; an empty search is found everywhere.
bool contains_search(const QString &text, const QString &search);

// `text` as HTML, each occurrence of `search` (left to right, not overlapping) in a span with a
// yellow ground. Letters and case are the text's own; `search` itself never enters the HTML.
QString highlight_html(const QString &text, const QString &search);

// KEPT: what of a text a cell measures and paints: devices choose how long their names are, and
// laying out a long one takes seconds. The rest is searched and copied all the same.
QString shown_part(const QString &text);
