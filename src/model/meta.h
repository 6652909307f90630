// What a property is, what a product is, and the tables of both.
#pragma once

#include <QVariant>

#include <cstdint>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <vector>

enum PropertyKind : uint32_t
{
    PROP_NONE = 0,        // no row; also marks a panel row as absent
    PROP_DUMMY = 1,       // pseudo row without a value
    PROP_TEXT = 2,        // JSON string
    PROP_BOOL = 3,        // JSON bool
    PROP_INT = 4,         // JSON number without a fraction
    PROP_FLOAT = 5,       // JSON number, shown with `decimals` digits
    PROP_IP = 6,          // JSON string, IPv4 in dotted form
    PROP_CHOICE = 7,      // one of `choices`, any JSON type
    PROP_FIRMWARE = 8,    // JSON string beside an update button
    PROP_LOCK_STATUS = 9, // JSON number without a fraction, shown as text
    PROP_METER = 10,      // live meter in the panel; no table row uses it
};

// The numbers are part of the design: the "load_restore" row carries one of them.
enum PropertyFlag : uint32_t
{
    PF_EQ = 0x0001,               // a change redraws the curve
    PF_READONLY = 0x0002,         // never editable, skipped when changes are sent
    PF_SOURCE_CHANNEL = 0x0004,   // zero-based channel of the selected stream
    PF_EMPTY_CHOICES_OK = 0x0008, // shown even when a selection shares no choice
    PF_NO_ROW = 0x0010,           // list column only, never in the panel
    PF_DRIVES_PRESETS = 0x0020,   // a change makes PF_FOLLOWS_BANK rows stale
    PF_FOLLOWS_BANK = 0x0040,
    PF_DRIVES_CHANNELS = 0x0080, // a change makes PF_FOLLOWS_STREAM rows stale
    PF_FOLLOWS_STREAM = 0x0100,
    PF_DRIVES_ALL = 0x0200, // a change makes PF_FOLLOWS_PRODUCT rows stale
    PF_FOLLOWS_PRODUCT = 0x0400,
    PF_CHANNEL_LIST = 0x0800, // choices are the product's channels
    PF_BACKUP = 0x1000,       // restored by "Load"
};

enum Capability
{
    CAP_DSP = 1,           // bank, preset, level, mute, delay, user EQ
    CAP_MANUAL_STREAM = 2, // hand-set RTP reception
    CAP_TX_STREAM = 3,     // AES67 transmission
};

struct PropertyChoice
{
    QVariant value;
    std::string label; // UTF-8
    QVariant data;     // a session_item for AES67 sessions, otherwise invalid

    bool operator==(const PropertyChoice &other) const = default;
};

struct PropertyDesc
{
    std::string key = {}; // `path` joined with "/"; empty in the tables
    std::vector<std::string> path = {};
    std::set<int> needs = {}; // capabilities; empty: every product
    std::string label = {};
    uint32_t flags = 0; // PropertyFlag bits
    PropertyKind kind = PROP_NONE;
    double min = -std::numeric_limits<double>::infinity();
    double max = std::numeric_limits<double>::infinity(); // PROP_TEXT: limit in UTF-8 bytes
    std::string unit = {};
    int decimals = 0;
    std::vector<PropertyChoice> choices = {};
    QVariant user_value = {}; // channel index (ULongLong) or flag mask (int), else invalid

    // Decides whether a panel row must be rebuilt: `flags` and `needs` show nowhere in its editors.
    bool same_editor(const PropertyDesc &other) const;
};

using PropertyMap = std::map<std::string, PropertyDesc>;
using ValueMap = std::map<std::string, QVariant>;

struct ProductDesc
{
    int32_t product_id = 0;
    std::set<int> capabilities = {};
    std::string name = {};
    std::string icon = {}; // resource path
    int channels = 0;
    PropertyMap properties = {};                             // what a device of this product has
    std::vector<std::vector<std::string>> preset_names = {}; // one list per bank, equally long
};

// All properties and products there are.
struct Catalogue
{
    std::vector<PropertyDesc> generic_properties = {}; // keys empty
    std::vector<std::string> property_keys = {};       // the order of rows and of merging
    std::vector<ProductDesc> product_table = {};       // in the order of every list
};

// One for the whole process, made by whoever asks first. A malformed table ends the process.
const Catalogue &catalogue();
// Has it made now, before any window or packet.
void build_catalogue();

// The row of this product number; the table's first row when no row matches.
const ProductDesc &find_product(int32_t id);

// The highest bank of a product with so many.
double highest_bank(size_t banks);

// The flags of rows that a change of a property with `flags` makes stale: any row that shares a
// bit.
uint32_t stale_mask(uint32_t flags);

// Generic descriptors and those of the EQ's bands, without products (keys empty).
std::vector<PropertyDesc> make_generic_properties();
std::vector<PropertyDesc> make_eq_properties();
// All rows, with empty `properties`.
std::vector<ProductDesc> make_product_table();
