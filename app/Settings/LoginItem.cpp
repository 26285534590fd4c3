#include "LoginItem.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <QTextStream>
#include <stdexcept>
#include <utility>

namespace tramix {

namespace {

// Quoting of the Exec key: reserved characters need the whole argument quoted, and `"`, `` ` ``,
// `$` and `\` a backslash inside the quotes; a literal `%` is written twice.
QString execArgument(const QString& program) {
    QString quoted;
    bool needsQuotes = false;
    for (QChar c : program) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\') {
            quoted += u'\\';
            needsQuotes = true;
        } else if (QStringLiteral(" \t\n'><~|&;*?#()").contains(c)) {
            needsQuotes = true;
        }
        quoted += c;
        if (c == u'%')
            quoted += u'%';
    }
    return needsQuotes ? u'"' + quoted + u'"' : quoted;
}

QString entryText(const QString& program) {
    return QStringLiteral("[Desktop Entry]\n"
                          "Type=Application\n"
                          "Name=Tramix\n"
                          "Comment=Offline file converter\n"
                          "Exec=%1\n"
                          "Icon=tramix\n"
                          "Terminal=false\n"
                          "X-GNOME-Autostart-enabled=true\n")
        .arg(execArgument(program));
}

bool isFalse(const QString& value) {
    return value.compare(u"false", Qt::CaseInsensitive) == 0;
}

bool isTrue(const QString& value) {
    return value.compare(u"true", Qt::CaseInsensitive) == 0;
}

} // namespace

LoginItem::LoginItem(QString entryPath, QString program)
    : entryPath_(std::move(entryPath))
    , program_(std::move(program)) {}

LoginItem LoginItem::standard() {
    const QString config = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    const QString program = QCoreApplication::instance() ? QCoreApplication::applicationFilePath()
                                                         : QStringLiteral("tramix");
    return LoginItem(config + QStringLiteral("/autostart/tramix.desktop"), program);
}

bool LoginItem::isEnabled() const {
    QFile file(entryPath_);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return false;
    QTextStream in(&file);
    bool inMainGroup = false;
    while (!in.atEnd()) {
        const QString line = in.readLine().trimmed();
        if (line.startsWith(u'[')) {
            inMainGroup = line == u"[Desktop Entry]";
            continue;
        }
        const qsizetype equals = line.indexOf(u'=');
        if (!inMainGroup || equals < 0)
            continue;
        const QString key = line.left(equals).trimmed();
        const QString value = line.mid(equals + 1).trimmed();
        if ((key == u"Hidden" && isTrue(value)) ||
            (key == u"X-GNOME-Autostart-enabled" && isFalse(value)))
            return false;
    }
    return true;
}

void LoginItem::setEnabled(bool enabled) const {
    if (enabled)
        writeEntry();
    else
        removeEntry();
}

void LoginItem::writeEntry() const {
    const QString folder = QFileInfo(entryPath_).absolutePath();
    if (!QDir().mkpath(folder))
        throw std::runtime_error(
            QStringLiteral("cannot create %1").arg(QDir::toNativeSeparators(folder)).toStdString());
    QSaveFile file(entryPath_);
    if (!file.open(QIODevice::WriteOnly) || file.write(entryText(program_).toUtf8()) < 0 ||
        !file.commit())
        throw std::runtime_error(
            QStringLiteral("%1: %2").arg(entryPath_, file.errorString()).toStdString());
}

void LoginItem::removeEntry() const {
    QFile file(entryPath_);
    if (file.exists() && !file.remove())
        throw std::runtime_error(
            QStringLiteral("%1: %2").arg(entryPath_, file.errorString()).toStdString());
}

} // namespace tramix
