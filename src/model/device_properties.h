// The properties of one device: those of its product, and its own where they differ.
#pragma once

#include "model/meta.h"

#include <iterator>
#include <memory>
#include <vector>

// Reads as a PropertyMap of its own. A hundred entries for each of a thousand devices took half of
// the program's memory, and freeing them half of the time that closing takes, so entries that say
// what the product says are the product's. A list of sessions is what usually differs.
class DeviceProperties
{
public:
    using Entry = PropertyMap::value_type;

private:
    struct OwnEntry
    {
        const Entry *instead_of = nullptr; // of the product's map
        std::unique_ptr<Entry> entry = {};
    };

public:
    // In the order of the keys. What another entry becomes while it walks does not disturb it.
    class const_iterator
    {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = Entry;
        using difference_type = std::ptrdiff_t;
        using pointer = const Entry *;
        using reference = const Entry &;

        const_iterator() = default;
        reference operator*() const
        {
            for (const OwnEntry &own : *differing)
                if (own.instead_of == &*place)
                    return *own.entry;
            return *place;
        }
        pointer operator->() const { return &**this; }
        const_iterator &operator++()
        {
            ++place;
            return *this;
        }
        const_iterator operator++(int)
        {
            const const_iterator before = *this;
            ++place;
            return before;
        }
        bool operator==(const const_iterator &other) const { return place == other.place; }

    private:
        friend class DeviceProperties;
        const_iterator(PropertyMap::const_iterator its_place, const std::vector<OwnEntry> *differs)
            : place(its_place)
            , differing(differs)
        {
        }

        PropertyMap::const_iterator place = {};
        const std::vector<OwnEntry> *differing = nullptr;
    };

    DeviceProperties() = default;
    Q_DISABLE_COPY_MOVE(DeviceProperties)
    // From now on those of a product, which must stay as it is and outlive this: the catalogue's.
    DeviceProperties &operator=(const PropertyMap &product);
    DeviceProperties &operator=(PropertyMap &&) = delete;

    bool empty() const { return all->empty(); }
    size_t size() const { return all->size(); }
    size_t count(const std::string &key) const { return all->count(key); }
    const_iterator begin() const { return {all->begin(), &differing}; }
    const_iterator end() const { return {all->end(), &differing}; }
    const_iterator find(const std::string &key) const { return {all->find(key), &differing}; }
    // Throws std::out_of_range when there is none.
    const PropertyDesc &at(const std::string &key) const;

    // What this device alone has for a key, to be changed; a key that its product lacks is added.
    PropertyDesc &own(const std::string &key);
    void erase(const std::string &key);

private:
    void leave_product();

    static const PropertyMap NONE;
    const PropertyMap *all = &NONE;          // the product's, or `whole`
    std::vector<OwnEntry> differing = {};    // empty beside `whole`
    std::unique_ptr<PropertyMap> whole = {}; // other keys than any product has
};
