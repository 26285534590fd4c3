// Whether this session lets the app see drags, in one sentence, what to do about it, and a
// button where there is something to do. The full card stands in the welcome window; the
// compact one in the settings window and, as text, in the status menu.
#pragma once

#include "Permissions.h"

#include <QWidget>
#include <optional>

namespace tramix {

class ActionButton;
class ThemedLabel;

class PermissionCard : public QWidget {
    Q_OBJECT
public:
    struct Texts {
        QString state;                 // one sentence
        QString advice;                // what to do, or that nothing needs doing
        std::optional<QString> action; // the button's label, where there is one
    };

    // Ready: drags are seen everywhere. Limited: seen, but not from every program. Missing:
    // not seen at all.
    enum class Level { ready, limited, missing };

    PermissionCard(Permissions& permissions, bool compact, bool german, QWidget* parent = nullptr);

    static Texts texts(const DragSession& session, bool compact, bool german);
    static Level level(const DragSession& session);

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void refresh();

    Permissions& permissions_;
    bool compact_;
    bool german_;
    ThemedLabel* state_;
    ThemedLabel* advice_;
    ActionButton* button_;
};

} // namespace tramix
