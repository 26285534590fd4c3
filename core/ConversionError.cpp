#include "ConversionError.h"

#include "EngineLog.h"

#include <new>

namespace tramix {

ConversionError::ConversionError(Kind kind, const QString& payload)
    : kind_(kind)
    , payload_(payload)
    , utf8_(errorDescription().toStdString()) {}

ConversionError ConversionError::unreadable(const QString& name) {
    return {Kind::unreadable, name};
}

ConversionError ConversionError::unsupported(const QString& what) {
    return {Kind::unsupported, what};
}

ConversionError ConversionError::failed(const QString& sentence) {
    return {Kind::failed, sentence};
}

ConversionError ConversionError::cancelled() {
    return {Kind::cancelled, QStringLiteral("Abgebrochen.")};
}

QString ConversionError::errorDescription() const {
    switch (kind_) {
    case Kind::unreadable:
        return QStringLiteral("„%1“ konnte nicht gelesen werden.").arg(payload_);
    case Kind::unsupported:
        return QStringLiteral("Nicht unterstützt: %1").arg(payload_);
    case Kind::failed:
    case Kind::cancelled:
        return payload_;
    }
    return payload_;
}

QString describeError(const std::exception& error) {
    if (auto* own = dynamic_cast<const ConversionError*>(&error))
        return own->errorDescription();
    if (dynamic_cast<const std::bad_alloc*>(&error))
        return QStringLiteral("Der Arbeitsspeicher reicht nicht.");
    // Libraries speak English and about their insides; the user gets a sentence, the log the rest.
    qCWarning(engineLog) << "unexpected error:" << error.what();
    return QStringLiteral("Unerwarteter Fehler. Einzelheiten stehen im Protokoll.");
}

} // namespace tramix
