// A cell of the device list: written in silence, so that one signal can tell of a whole row.
#pragma once

#include <QStandardItem>
#include <QVariant>

// The toolkit's own item looks for its place in the model at each change, through all the cells
// of all rows: tens of microseconds at a thousand devices. This one leaves telling to whoever
// writes the row.
class DeviceCell : public QStandardItem
{
public:
    static constexpr int ID_ROLE = 257;    // column 0: the only link from a row to its device
    static constexpr int BIRTH_ROLE = 257; // column 1: the row at which the device was appended
    static constexpr int SORT_ROLE = 258;  // every filled cell
    static constexpr int EXTRA_ROLE = 259; // product column: icon path; meter column: the meter

    // Stores a value for one of the roles above, Qt::DisplayRole (and with it Qt::EditRole) or
    // Qt::DecorationRole. True when that changed anything; no signal is sent.
    bool write(int role, const QVariant &value);

    // What the cell shows, without the detour that a search through all cells would feel.
    QString shown_text() const { return display.toString(); }

    QVariant data(int role = Qt::UserRole + 1) const override;
    void setData(const QVariant &value, int role = Qt::UserRole + 1) override;

private:
    QVariant *place(int role);

    QVariant display = {};
    QVariant decoration = {};
    QVariant id = {};
    QVariant sort_key = {};
    QVariant extra = {};
};
