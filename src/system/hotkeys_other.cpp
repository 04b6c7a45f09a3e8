#include "hotkeys.h"

// No global key grabs here (a Wayland session, for one).
std::unique_ptr<Hotkeys> Hotkeys::create()
{
    return std::make_unique<UnavailableHotkeys>();
}
