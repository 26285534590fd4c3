// What the engine notes for the debug log: tools' own error texts and the like, never shown as
// messages. The app routes this category into its log.
#pragma once

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(engineLog)
