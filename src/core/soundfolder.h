#pragma once

#include <QString>

// The folder a sound chooser starts in: the user's music folder, else /usr/share/sounds.
QString soundFolder();
