// Whether the interface speaks German or English, decided once per process.
#pragma once

#include "Language.h"

#include <QString>
#include <QStringList>

namespace tramix {

class UILanguage {
public:
    UILanguage() = delete;

    // True when the user's first preferred language is German; read on first use, then kept.
    static bool german();
    // The same decision as a language of the catalogue.
    static Language current() { return german() ? Language::german : Language::english; }

    // The rule behind `german`, for a given list of preferred languages (first is most wanted).
    static bool prefersGerman(const QStringList& preferredLanguages);

    // The form of a bilingual text that the interface shows.
    static QString text(const QString& german, const QString& english);
};

} // namespace tramix
