#pragma once

#include "tagentryinput.h"

#include <optional>

class QFont;
class QPlainTextEdit;
class QWidget;

// The look commands of the editor: each asks the user and gives the changed look,
// or nothing when cancelled.
std::optional<TagLook> askColor(QWidget *parent, const TagLook &look, bool fore);
std::optional<TagLook> askFont(QWidget *parent, const TagLook &look, const QFont &current);

// The message box shows the tag's font and colours.
void showLookIn(QPlainTextEdit *message, const TagLook &look);
