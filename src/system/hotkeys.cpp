#include "hotkeys.h"

Hotkeys::~Hotkeys() = default;

void Hotkeys::unregisterAll()
{
    for (int id = 1; id <= MaxId; ++id)
        unregisterHotkey(id);
}
