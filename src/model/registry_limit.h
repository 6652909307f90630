// How many devices the program knows at the most, and how much it keeps of them.
#pragma once

// More than any site has: the list takes 2.4 s for them at the start. A sender of ever-new ids must
// not fill the memory, nor a cache that was tampered with.
constexpr int MOST_DEVICES = 8192;

// Bytes of the cache's text: four times what so many real devices need. Reports made to grow when
// they are written out would take more than one text can hold.
constexpr int LARGEST_CACHE = 1 << 28;
