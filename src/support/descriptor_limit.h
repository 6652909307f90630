// How many sockets and files this program may hold open at once.
#pragma once

// Raises the limit to the most that the system lets this program have. Nothing happens when it is
// there already, or when it is refused.
void raise_descriptor_limit();

// True while one socket more leaves enough for what must work at any time: lists of interfaces, the
// cache and the settings.
bool has_spare_descriptor();
