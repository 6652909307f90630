// What the list's area says while no row shows.
#pragma once

#include <QString>

struct EmptyFacts
{
    QString network = {}; // empty: there is none
    int devices = 0;
    int hidden = 0;          // by the search
    QString search = {};     // what is searched for
    bool has_waited = false; // long enough for every device to have answered
};

struct EmptyTexts
{
    QString headline = {}; // empty while rows show
    QString hint = {};

    bool operator==(const EmptyTexts &) const = default;
};

EmptyTexts empty_texts(const EmptyFacts &facts);
