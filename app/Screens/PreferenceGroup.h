// A group of settings under a small heading: one rounded panel with a row per setting, a title
// and an explanation on the left and the control on the right, hairlines between the rows.
#pragma once

#include <QWidget>

class QVBoxLayout;

namespace tramix {

class ThemedLabel;

class PreferenceGroup : public QWidget {
    Q_OBJECT
public:
    explicit PreferenceGroup(const QString& heading, QWidget* parent = nullptr);

    struct Row {
        QWidget* widget;     // to be hidden and shown as a whole
        ThemedLabel* detail; // under the title; none without a detail
    };

    // Adds a row; `detail` may be empty. The title names the control for screen readers unless
    // it has a name of its own.
    Row addRow(const QString& title, const QString& detail, QWidget* control);
    // Adds a row that holds `content` alone.
    QWidget* addRow(QWidget* content);
    // A note under the panel that speaks for the whole group.
    void setFooter(const QString& text);

private:
    QWidget* panel_;
    QVBoxLayout* rows_;
};

} // namespace tramix
