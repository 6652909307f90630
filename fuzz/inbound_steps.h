// The inputs of the inbound harness: what happens, step by step.
#pragma once

#include <QByteArray>
#include <QList>

// An input is a list of steps with STEP_END between them. The first byte of a step says what
// happens:
//
//   D  a datagram arrives; the second byte chooses one of 16 senders, the rest is the datagram
//   B  the same, and more of the burst follows: sorting and log text wait for its end
//   T  time passes: as many times 100 ms as the second byte says
//   S  rows are selected: one for each further byte
//   E  an editor gets a text: the second byte chooses the row, the rest is the text
//   F  the search gets this text       O  the list is sorted by this column
//   H  a column is shown or hidden     L  log windows open for the selected devices
//   K  a line in a log's console       W  a log window closes
//   I  an edit begins                  Y  it is confirmed          N  it is cancelled
//   Q  the curve is shown or hidden    A  the assistant is pressed on
//   X  the selected entries go         U  a dummy device comes
//   M  the meters move                 C  the cache is saved and read again
//   P  the window paints
//
// Any other letter is a sender by itself, and the rest a datagram.
inline const QByteArray STEP_END = "\xFE\xFF\xFE";

QList<QByteArray> steps_of(const QByteArray &input);
QByteArray input_of(const QList<QByteArray> &steps);
