#pragma once

#include <QtGlobal>

// Stored positions and sizes are in twips, 1440 to the inch, rounded to the nearest.
inline constexpr int TwipsPerInch = 1440;

inline int twipsToPixels(qint32 twips, int dpi)
{
    return int(qRound64(double(twips) * dpi / TwipsPerInch));
}

inline qint32 pixelsToTwips(int pixels, int dpi)
{
    return dpi > 0 ? qint32(qRound64(double(pixels) * TwipsPerInch / dpi)) : 0;
}
