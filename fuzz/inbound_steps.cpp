// The inputs of the inbound harness: what happens, step by step.
#include "fuzz/inbound_steps.h"

QList<QByteArray> steps_of(const QByteArray &input)
{
    QList<QByteArray> steps;
    int start = 0;
    for (int end = input.indexOf(STEP_END); end >= 0; end = input.indexOf(STEP_END, start)) {
        steps.append(input.mid(start, end - start));
        start = end + STEP_END.size();
    }
    steps.append(input.mid(start));
    return steps;
}

QByteArray input_of(const QList<QByteArray> &steps)
{
    return steps.join(STEP_END);
}
