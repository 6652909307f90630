// Spreads compact JSON over lines, as the toolkit writes it in its indented form.
#pragma once

#include <QByteArray>

// Appends the indented form of `compact`, an object or array as QJsonDocument::Compact writes it,
// whose first brace stands on a line of `depth` levels. The text ends with the last brace.
void append_indented(QByteArray &text, const QByteArray &compact, int depth);
// The same for who knows the size of that form already, as indented_size tells it.
void append_indented(QByteArray &text, const QByteArray &compact, int depth, int size);

// How many bytes that would append. Above `most` it stops counting and returns a larger number, as
// it does for what is nested deeper than the JSON reader takes.
int indented_size(const QByteArray &compact, int depth, int most);
