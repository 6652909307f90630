// Changes inputs of the inbound harness in ways that a seed repeats.
#include "fuzz/inbound_mutation.h"

#include "fuzz/inbound_steps.h"
#include "fuzz/mutation.h"

using namespace simulator;

namespace {

constexpr int LEAD = 2; // letter and sender of a datagram

void damage_step(QList<QByteArray> &steps, RandomSource &random)
{
    QByteArray &step = steps[random.below(steps.size())];
    const bool is_datagram = step.startsWith('D') || step.startsWith('B');
    if (is_datagram && random.happens(95))
        step = step.left(LEAD) + damaged(step.mid(LEAD), random);
    else
        step = step.left(1) + damaged(step.mid(1), random).left(40);
}

void insert_act(QList<QByteArray> &steps, RandomSource &random)
{
    constexpr char letters[] = "TSEFOHLKWIYNQAXUMCP";
    QByteArray step(1, letters[random.below(int{sizeof letters} - 1)]);
    for (int i = random.below(4); i >= 0; --i)
        step.append(static_cast<char>(random.below(256)));
    steps.insert(random.below(steps.size() + 1), step);
}

} // namespace

QByteArray changed_input(const QByteArray &input, const QByteArray &other, RandomSource &random)
{
    QList<QByteArray> steps = steps_of(input);
    const QList<QByteArray> more = steps_of(other);
    for (int i = random.between(1, 4); i > 0; --i) {
        const int place = random.below(steps.size());
        switch (random.below(8)) {
        case 0:
            steps.insert(place, more.at(random.below(more.size())));
            break;
        case 1:
            steps.append(steps.at(place));
            break;
        case 2:
            steps.move(place, random.below(steps.size()));
            break;
        case 3:
            insert_act(steps, random);
            break;
        default:
            damage_step(steps, random);
        }
    }
    return input_of(steps);
}
