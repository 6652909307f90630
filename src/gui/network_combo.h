// The box in which the operator chooses the network.
#pragma once

#include "link/interface_rules.h"

#include <QComboBox>

#include <set>

class NetworkCombo : public QComboBox
{
    Q_OBJECT

public:
    NetworkCombo();

    // Adds the networks that are new, and selects again when there are any: `saved` when it is
    // there, else the preferred one. The first entry selects itself, and whoever listens to that
    // may call this once more from within.
    void offer(const std::vector<NetworkInterface> &interfaces, const QString &saved);

private:
    std::set<QString> known_networks = {}; // all that were offered so far
    bool default_is_link_local = false;
};
