// How many devices the program knows at the most.
#pragma once

// More than any site has: the list takes 2.4 s for them at the start. A sender of ever-new ids must
// not fill the memory, nor a cache that was tampered with.
constexpr int MOST_DEVICES = 8192;
