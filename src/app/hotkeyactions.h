#pragma once

#include "envrecord.h"
#include "tagrecord.h"

#include <QImage>
#include <QString>
#include <optional>

class TagStore;

// What the hotkeys do beyond opening a window: the clipboard text as a tag, and
// the active window as a picture.
namespace HotkeyActions {

// The longest message a tag stores, in CP932 bytes.
inline constexpr int MessageLimit = 28000;

// A tag shown at once holding text (cut to MessageLimit), in the current
// default look and size, grown to fit the text.
TagRecord clipTag(const QString &text, const EnvRecord &env);
// Stores clipTag(text); its number, or nullopt with the reason. Blank text
// makes no tag.
std::optional<int> storeClipTag(const TagStore &store, const QString &text,
                                QString *error = nullptr);

// The active window's picture; null when the platform names no active window.
QImage grabActiveWindow();

} // namespace HotkeyActions
