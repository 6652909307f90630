// The row above the list: equaliser, Identify, network and search.
#pragma once

#include <QWidget>

class NetworkCombo;
class QPushButton;
class SearchBox;

class TopBar : public QWidget
{
    Q_OBJECT

public:
    TopBar();

    QPushButton *eq_button() const { return eq; } // down while the curve is shown
    QPushButton *identify_button() const { return identify; }
    NetworkCombo *network_combo() const { return networks; }
    SearchBox *search_box() const { return search; }

private:
    QPushButton *eq;
    QPushButton *identify;
    NetworkCombo *networks;
    SearchBox *search;
};
