// Search in cell texts: what counts as a hit, and how hits are marked.
#pragma once

#include <QString>

// A plain substring, case aside; an empty search is found everywhere.
bool contains_search(const QString &text, const QString &search);

// `text` as HTML, each occurrence of `search` (left to right, not overlapping) in a span with a
// yellow ground. Letters and case are the text's own; `search` itself never enters the HTML.
QString highlight_html(const QString &text, const QString &search);
