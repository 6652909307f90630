// How many devices the program knows at the most, and how much it keeps of them.
#pragma once

// KEPT: more than any site has: the list takes 2.4 s for them at the start. A sender of ever-new
// ids must not fill the memory, nor a cache that was tampered with.
constexpr int MOST_DEVICES = 8192;

// Bytes of the cache's text, written or read: twice what so many real devices need. A sender of
// ever-new ids would make a file that holds up the next start, or that nobody can read again.
constexpr int LARGEST_CACHE = 128 * 1024 * 1024;

// Bytes of one device's part of it. A real report takes 10,000; one datagram full of nested lists
// takes a megabyte when it is written out.
constexpr int LARGEST_CACHE_PART = 256 * 1024;
