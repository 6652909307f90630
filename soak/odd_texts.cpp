// Texts and values that an operator, or a device gone wrong, comes up with.
#include "soak/odd_texts.h"

#include <QJsonArray>
#include <QJsonObject>

#include <array>

using namespace simulator;

QString odd_text(RandomSource &random)
{
    const std::array<QString, 16> texts = {"",
                                           "Left",
                                           "Stage left main 1",
                                           "Bühne links – Süd",
                                           "\u821e\u53f0 \u5de6",
                                           "<b>bold</b>&amp;",
                                           "...",
                                           "-1",
                                           "3.5",
                                           "  blanks  ",
                                           "10.0.0.300",
                                           "192.168.1.20",
                                           "\u202eback to front",
                                           "\U0001F50D\U0001F5F8",
                                           QString("long ").repeated(60),
                                           "%1 %2 %n"};
    const int choice = random.below(int{texts.size()} + 4);
    if (choice < int{texts.size()})
        return texts[static_cast<size_t>(choice)];
    return "Name " + QString::number(random.below(100'000));
}

QJsonValue odd_value(RandomSource &random)
{
    switch (random.below(12)) {
    case 0:
        return QJsonValue(QJsonValue::Null);
    case 1:
        return random.happens(50);
    case 2:
        return random.between(-3, 12);
    case 3:
        return 1e300;
    case 4:
        return -2147483649.0;
    case 5:
        return 0.1 * random.between(-400, 400);
    case 6:
        return QJsonArray{1, "two", QJsonArray()};
    case 7:
        return QJsonObject{{"n", 1}, {"error", "nested"}};
    default:
        return odd_text(random);
    }
}
