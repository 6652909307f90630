// Search in cell texts: what counts as a hit, and how hits are marked.
#pragma once

#include <QString>

#include <vector>

// A plain substring, case aside; an empty search is found everywhere.
bool contains_search(const QString &text, const QString &search);

// Where `search` occurs, left to right and not overlapping; never when it is empty.
std::vector<int> search_hits(const QString &text, const QString &search);

// `text` as HTML, each occurrence of `search` (left to right, not overlapping) in a span with a
// yellow ground. Letters and case are the text's own; `search` itself never enters the HTML.
QString highlight_html(const QString &text, const QString &search);

// Letters, digits and signs of the Latin alphabets with single blanks between them: neither markup
// nor the rules of any script do more with such a text than to put it from left to right.
bool is_plain_text(const QString &text);

// KEPT: what of a text a cell measures and paints: devices choose how long their names are, and
// laying out a long one takes seconds. The rest is searched and copied all the same.
QString shown_part(const QString &text);
