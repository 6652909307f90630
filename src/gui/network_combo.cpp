// The box in which the operator chooses the network.
#include "gui/network_combo.h"

NetworkCombo::NetworkCombo()
{
    setObjectName("network_box");
    setAccessibleName("Network");
    // It grows with the names of late adapters, and gives way when the window is narrow.
    setSizeAdjustPolicy(QComboBox::AdjustToContents);
    setMinimumWidth(minimumSizeHint().width());
}

void NetworkCombo::offer(const std::vector<NetworkInterface> &interfaces, const QString &saved)
{
    const auto select = [this](const QString &name) {
        const int entry = findText(name, Qt::MatchExactly | Qt::MatchCaseSensitive);
        if (entry >= 0)
            setCurrentIndex(entry);
        return entry >= 0;
    };
    update_networks(interfaces, known_networks, default_is_link_local, saved,
                    {.add = [this](const QString &name) { addItem(name); }, .select = select});
    setToolTip(network_tip(find_network_among(interfaces, currentText())));
}
