// The look the editors share with the wheel and the toast: the theme's card colours, rounded
// buttons with one accent-coloured main action, segmented choices, quiet secondary text.
#pragma once

#include "Design/Theme.h"

#include <QButtonGroup>
#include <QIcon>
#include <QPushButton>
#include <QStringList>
#include <QWidget>

namespace tramix::EditorChrome {

// For the editor's root widget; child widgets choose a role with the dynamic property "role":
// "primary" (the main button), "segment" (one of a segmented choice), "secondary" and "error"
// (labels), "title" (a heading), "panel" (a side panel's card).
QString styleSheet(const Theme& theme);

// Checkable buttons side by side with the group's ids 0…n-1, the first checked.
QWidget* segmented(const QStringList& labels, QButtonGroup& group, QWidget* parent);

// A flat button showing a symbol of SymbolIcons in the text colour.
QPushButton* symbolButton(const QString& symbol, const QString& toolTip, const Theme& theme,
                          QWidget* parent);
QIcon symbolIcon(const QString& symbol, const QColor& color);

} // namespace tramix::EditorChrome
