// Texts in which an object says one key more than once.
#pragma once

#include <QByteArray>

// The same JSON text, in which each object says each key once: of repeated ones the last stays,
// which is the one that counts to the toolkit's parser. That parser keeps the memory of each
// earlier value that is a list or an object for as long as the process runs: 260 KB for each
// datagram of 45 KB. A text in which nothing is repeated, and one that is no JSON at all, comes
// back as it is (shared). Time and memory are near-linear in the size.
QByteArray without_repeated_keys(const QByteArray &json);
