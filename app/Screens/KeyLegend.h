// Which key opens which wheel, as key caps with the wheels' names beside them, in wheel order.
// Follows the settings as they change; wraps onto more lines where the width runs out.
#pragma once

#include <QWidget>

namespace tramix {

class AppSettings;

class KeyLegend : public QWidget {
    Q_OBJECT
public:
    KeyLegend(AppSettings& settings, bool german, QWidget* parent = nullptr);

    // The entries as they read: "Umschalt Formate" and so on.
    QStringList entries() const;

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    struct Entry {
        QString key; // "–" for a wheel without a key
        QString wheel;
    };
    QList<Entry> items() const;
    // Where each entry's cap goes for a widget `width` wide, and the height it all takes.
    QList<QRectF> place(int width, qreal* height) const;

    AppSettings& settings_;
    bool german_;
};

} // namespace tramix
