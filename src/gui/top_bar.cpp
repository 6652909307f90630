// The row above the list: equaliser, Identify, network and search.
#include "gui/top_bar.h"

#include "gui/network_combo.h"
#include "gui/search_box.h"

#include <QHBoxLayout>
#include <QPushButton>

TopBar::TopBar()
    : eq(new QPushButton("Show User EQ"))
    , identify(new QPushButton("Identify"))
    , networks(new NetworkCombo)
    , search(new SearchBox)
{
    eq->setObjectName("eq_button");
    eq->setCheckable(true);
    eq->setToolTip("Shows the user equaliser of the selected devices under the list");
    identify->setObjectName("identify_button");
    identify->setToolTip("Lets the selected devices blink");
    identify->setEnabled(false);

    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(eq);
    layout->addStretch(1);
    layout->addWidget(identify);
    layout->addStretch(1);
    layout->addWidget(networks);
    layout->addStretch(1);
    layout->addWidget(search, 3);
}
