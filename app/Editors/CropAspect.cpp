#include "CropAspect.h"

#include "Settings/UILanguage.h"

#include <algorithm>

namespace tramix::CropAspects {

const QList<CropAspect>& all() {
    static const QList<CropAspect> aspects = {CropAspect::free,       CropAspect::original,
                                              CropAspect::square,     CropAspect::fourThree,
                                              CropAspect::threeTwo,   CropAspect::sixteenNine,
                                              CropAspect::nineSixteen};
    return aspects;
}

QString rawValue(CropAspect aspect) {
    switch (aspect) {
    case CropAspect::free:
        return QStringLiteral("free");
    case CropAspect::original:
        return QStringLiteral("original");
    case CropAspect::square:
        return QStringLiteral("square");
    case CropAspect::fourThree:
        return QStringLiteral("fourThree");
    case CropAspect::threeTwo:
        return QStringLiteral("threeTwo");
    case CropAspect::sixteenNine:
        return QStringLiteral("sixteenNine");
    case CropAspect::nineSixteen:
        return QStringLiteral("nineSixteen");
    }
    Q_UNREACHABLE();
}

QString label(CropAspect aspect) {
    switch (aspect) {
    case CropAspect::free:
        return UILanguage::text(QStringLiteral("Frei"), QStringLiteral("Free"));
    case CropAspect::original:
        return QStringLiteral("Original");
    case CropAspect::square:
        return QStringLiteral("1:1");
    case CropAspect::fourThree:
        return QStringLiteral("4:3");
    case CropAspect::threeTwo:
        return QStringLiteral("3:2");
    case CropAspect::sixteenNine:
        return QStringLiteral("16:9");
    case CropAspect::nineSixteen:
        return QStringLiteral("9:16");
    }
    Q_UNREACHABLE();
}

std::optional<double> ratio(CropAspect aspect, QSizeF pixelSize) {
    switch (aspect) {
    case CropAspect::free:
        return std::nullopt;
    case CropAspect::original:
        return pixelSize.width() / std::max(pixelSize.height(), 1.0);
    case CropAspect::square:
        return 1.0;
    case CropAspect::fourThree:
        return 4.0 / 3;
    case CropAspect::threeTwo:
        return 3.0 / 2;
    case CropAspect::sixteenNine:
        return 16.0 / 9;
    case CropAspect::nineSixteen:
        return 9.0 / 16;
    }
    Q_UNREACHABLE();
}

} // namespace tramix::CropAspects
