// What a device takes of a "set_params", and how large its report may become.
#pragma once

#include <QJsonObject>
#include <QString>

namespace simulator {

// Bytes of a report without its trailer. A UDP datagram carries 65,507; the rest is left for what
// the device itself adds, such as its address.
constexpr int LARGEST_REPORT = 60'000;
// Bytes of a command. A device reads commands into a buffer of this size.
constexpr int LARGEST_COMMAND = 8192;
// UTF-8 bytes of a text whose property states no bound.
constexpr int LONGEST_TEXT = 1024;

struct ParamCheck
{
    QJsonObject taken = {}; // the parameters alone, each at its place
    QString refusal = {};   // why the device takes none of them; empty: it takes all
};

// Checks the parameters of a command: all of its members but the envelope and what identifies a
// device, which are passed over. A device takes only what its product can be told: every member
// must be a property that can be written, of the property's type and within its bounds.
ParamCheck check_params(const QJsonObject &command, int product_id);

// Why a device can't become what `state` says; empty when it can.
QString report_refusal(const QJsonObject &state);

} // namespace simulator
