// Everything the status menu shows, as plain texts in the interface language, built from the
// settings and the history.
#pragma once

#include "Settings/ModifierKey.h"
#include "WheelMode.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace tramix {

class AppSettings;
class History;

struct MenuContent {
    struct ModeRow {
        WheelMode mode;
        std::optional<ModifierKey> key;
        QString keyName; // as on a Linux keyboard; "–" for a mode without a key
        QString title;
        QString examples;
    };
    struct RecentJob {
        QString title;
        QStringList outputs;
        bool failed = false;
    };

    QString productName = QStringLiteral("Tramix");
    QString tagline;
    QString settingsLabel;
    QString hint;
    QString hintDetail; // the longer explanation of toggle activation; empty for hold
    QList<ModeRow> modes;
    qint64 total = 0;
    QString totalLabel;
    QString localFigure = QStringLiteral("100 %");
    QString localLabel;
    // Why drags cannot be seen on this desktop; none where they can. With an action, a click on
    // it leads on.
    std::optional<QString> notice;
    std::optional<QString> noticeAction;
    QString recentHeading;
    QString noRecentJobs;
    QList<RecentJob> recent; // newest first
    QString dropLabel;
    QString dropHelp;
    QString guideLabel;
    QString quitLabel;

    static MenuContent make(const AppSettings& settings, const History& history, bool german);
};

} // namespace tramix
