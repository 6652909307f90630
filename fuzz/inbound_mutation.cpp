// Changes inputs of the inbound harness in ways that a seed repeats.
#include "fuzz/inbound_mutation.h"

#include "fuzz/inbound_steps.h"
#include "fuzz/mutation.h"
#include "simulator/draw_by_weight.h"

#include <array>

using namespace simulator;

namespace {

constexpr int LEAD = 2; // letter and sender of a datagram

void damage_step(QList<QByteArray> &steps, const QList<QByteArray> & /*more*/, RandomSource &random)
{
    QByteArray &step = steps[random.below(steps.size())];
    const bool is_datagram = step.startsWith('D') || step.startsWith('B');
    if (is_datagram && random.happens(95))
        step = step.left(LEAD) + damaged(step.mid(LEAD), random);
    else
        step = step.left(1) + damaged(step.mid(1), random).left(40);
}

void insert_act(QList<QByteArray> &steps, const QList<QByteArray> & /*more*/, RandomSource &random)
{
    constexpr char letters[] = "TSEFOHLKWIYNQAXUMCP";
    QByteArray step(1, letters[random.below(int{sizeof letters} - 1)]);
    for (int i = random.below(4); i >= 0; --i)
        step.append(static_cast<char>(random.below(256)));
    steps.insert(random.below(steps.size() + 1), step);
}

void borrow_step(QList<QByteArray> &steps, const QList<QByteArray> &more, RandomSource &random)
{
    steps.insert(random.below(steps.size()), more.at(random.below(more.size())));
}

void repeat_step(QList<QByteArray> &steps, const QList<QByteArray> & /*more*/, RandomSource &random)
{
    steps.append(steps.at(random.below(steps.size())));
}

void move_step(QList<QByteArray> &steps, const QList<QByteArray> & /*more*/, RandomSource &random)
{
    steps.move(random.below(steps.size()), random.below(steps.size()));
}

struct ChangeRow
{
    int weight = 0;
    void (*change)(QList<QByteArray> &steps, const QList<QByteArray> &more, RandomSource &random)
        = nullptr;
};

constexpr std::array CHANGES = {
    ChangeRow{.weight = 4, .change = damage_step}, ChangeRow{.weight = 1, .change = insert_act},
    ChangeRow{.weight = 1, .change = borrow_step}, ChangeRow{.weight = 1, .change = repeat_step},
    ChangeRow{.weight = 1, .change = move_step},
};

} // namespace

QByteArray changed_input(const QByteArray &input, const QByteArray &other, RandomSource &random)
{
    QList<QByteArray> steps = steps_of(input);
    const QList<QByteArray> more = steps_of(other);
    for (int i = random.between(1, 4); i > 0; --i)
        draw_by_weight(CHANGES, random).change(steps, more, random);
    return input_of(steps);
}
