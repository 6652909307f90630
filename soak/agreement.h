// Whether list, registry, cache file and simulator tell the same of every device.
#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <map>
#include <string>

class FleetLine;
struct WindowCase;

// What one window shows of one device.
struct ShownDevice
{
    std::map<std::string, QString> cells = {}; // by column, all of them
};
using ShownList = std::map<QString, ShownDevice>; // by device id

class Agreement
{
public:
    explicit Agreement(FleetLine &its_fleet)
        : fleet(its_fleet)
    {
    }

    QStringList complaints = {}; // empty: all agree
    qint64 comparisons = 0;      // values that were compared

    // Asks the simulator what is true.
    void learn_truth();
    // Every device of the fleet is online with the state that the simulator has.
    bool is_up_to_date(const WindowCase &window) const;

    void check_registry(const WindowCase &window);
    // Every row belongs to a device, every device has one, and it shows the device's state.
    void check_list(WindowCase &window);
    void check_cache_file(const QString &path);
    // A window that was just started shows the same.
    void check_same_list(const ShownList &worn, const ShownList &fresh, const WindowCase &window);

    static ShownList shown_list(WindowCase &window);

private:
    void expect(bool claim, const QString &complaint);
    void check_row(WindowCase &window, const QString &id, const ShownDevice &shown);
    QJsonObject truth_of(const QString &id) const { return truth.at(id).state; }

    struct Truth
    {
        QJsonObject state = {};
        QString address = {};
        QString name = {};
    };

    FleetLine &fleet;
    std::map<QString, Truth> truth = {}; // by device id
};
