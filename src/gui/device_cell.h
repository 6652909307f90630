// A cell of the device list: written in silence, so that one signal can tell of a whole row.
#pragma once

#include <QStandardItem>
#include <QVariant>

struct Device;

// The toolkit's own item looks for its place in the model at each change, through all the cells
// of all rows: tens of microseconds at a thousand devices. This one leaves telling to whoever
// writes the row.
class DeviceCell : public QStandardItem
{
public:
    static constexpr int ID_ROLE = 257; // column 0: the device's id
    static constexpr int TURN_ROLE
        = 257; // column 1: the row's turn among those that go (row_order)
    static constexpr int SORT_ROLE = 258;         // every filled cell
    static constexpr int EXTRA_ROLE = 259;        // one value more, whose meaning is the column's:
    static constexpr int ICON_ROLE = EXTRA_ROLE;  // product column: the path of the picture
    static constexpr int METER_ROLE = EXTRA_ROLE; // meter column: the MeterObject *

    // Stores a value for one of the roles above, Qt::DisplayRole (and with it Qt::EditRole) or
    // Qt::DecorationRole. True when that changed anything; no signal is sent.
    bool store(int role, const QVariant &value);

    // What the cell shows, without the detour that a search through all cells would feel.
    QString shown_text() const { return display.toString(); }

    // What the list has measured in a round of measuring with this number; -1 when the cell has not
    // been measured in it, or shows something else since.
    int kept_width(int round) const { return width_round == round ? width : -1; }
    void keep_width(int round, int new_width)
    {
        width_round = round;
        width = new_width;
    }

    static constexpr int TYPE = UserType + 1;
    int type() const override { return TYPE; }
    QVariant data(int role = Qt::UserRole + 1) const override;
    void setData(const QVariant &value, int role = Qt::UserRole + 1) override;

private:
    QVariant *place(int role);

    QVariant display = {};
    QVariant decoration = {};
    QVariant id = {};
    QVariant sort_key = {};
    QVariant extra = {}; // the picture's path or the meter
    int width = -1;
    int width_round = -1;
};

// The cell in column 0, which stands for its row.
class RowHead : public DeviceCell
{
public:
    explicit RowHead(Device *its_device)
        : device(its_device)
    {
    }

    Device *device = nullptr; // null once the list has been told to forget the devices
    int birth = 0;            // running number of the row
    int birth_row = 0;        // where the model put it
    bool is_online = false;   // when it was last counted
};
