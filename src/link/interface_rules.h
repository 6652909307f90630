// Networks by name: which are offered, which is chosen, what address a name stands for.
#pragma once

#include <QHostAddress>
#include <QString>

#include <functional>
#include <set>
#include <vector>

struct NetworkAddress
{
    QHostAddress ip = {};
    QHostAddress netmask = {};
};

struct NetworkInterface
{
    QString name = {}; // the human-readable one: what the operator sees and what is remembered
    int index = -1;
    bool is_up = false;
    bool is_running = false;
    bool can_broadcast = false;
    std::vector<NetworkAddress> entries = {};
};

// The machine's interfaces at this moment, in the system's order.
std::vector<NetworkInterface> present_interfaces();

// What a network's name stands for.
struct FoundNetwork
{
    int index = -1;              // -1: no interface of that name
    QHostAddress broadcast = {}; // null when there is nothing to report
    QHostAddress source = {};
};

// The source is the first IPv4 address that isn't loopback. The broadcast address is computed from
// address and netmask: that of the first entry whose result is link-local, else that of the last
// entry. KEPT: the two may belong to different entries.
FoundNetwork find_network_among(const std::vector<NetworkInterface> &interfaces,
                                const QString &name);

// What the box of networks tells of the chosen one.
QString network_tip(const FoundNetwork &network);

// Whether an interface can carry our traffic: up, running, able to broadcast, and with an IPv4
// address beyond loopback.
bool is_offered(const NetworkInterface &interface);
bool has_link_local_address(const NetworkInterface &interface);

// Inserts each new network that is_offered into `known`, and only then calls `add` with its name:
// adding an entry may select it and so run this again from within. Returns the name to prefer:
// the first new one, or a later one with a link-local address as long as none was preferred so
// far (`default_is_link_local` remembers that between calls). Empty when nothing was new.
QString offer_networks(const std::vector<NetworkInterface> &interfaces, std::set<QString> &known,
                       bool &default_is_link_local,
                       const std::function<void(const QString &name)> &add);

// The box in which the operator chooses a network. Adding its first entry selects that; a change of
// the selection runs update_networks again from within.
struct NetworkBox
{
    std::function<void(const QString &name)> add;
    std::function<bool(const QString &name)> select; // false when no entry has exactly that text
};

// Offers what is new. Whenever there is something, the selection is made again: the saved network
// when it is there, else the preferred one. The nested run that the first entry causes makes its
// selection first and the outer one last, so that the first network that qualifies is selected at
// start, and the preference for link-local ones counts for networks that join later.
void update_networks(std::vector<NetworkInterface> interfaces, std::set<QString> &known,
                     bool &default_is_link_local, const QString &saved, const NetworkBox &box);

// Adds "<br>" between lines, and "ADDRESS: RESULT" for a result that isn't empty.
void append_network_error(QString &errors, const QHostAddress &address, const QString &result);

// The text of "Network info": every interface with its addresses, unfiltered.
QString network_report();
