#include "UILanguage.h"

#include <QLocale>

namespace tramix {

bool UILanguage::german() {
    static const bool value = prefersGerman(QLocale::system().uiLanguages());
    return value;
}

bool UILanguage::prefersGerman(const QStringList& preferredLanguages) {
    return !preferredLanguages.isEmpty() && preferredLanguages.first().startsWith(u"de");
}

QString UILanguage::text(const QString& german, const QString& english) {
    return UILanguage::german() ? german : english;
}

} // namespace tramix
