#include "PermissionCard.h"

#include "ActionButton.h"
#include "Design/StatusGlyphs.h"
#include "ThemedLabel.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

namespace tramix {

namespace {

constexpr qreal radius = 10;
constexpr int padding = 12;
constexpr int iconSize = 18;
constexpr int iconGap = 10;

QString pick(bool german, const char* de, const char* en) {
    return QString::fromUtf8(german ? de : en);
}

QString missingExtensions(const DragSession& session, bool german) {
    QStringList missing;
    if (!session.xfixes)
        missing.append(QStringLiteral("XFixes"));
    if (!session.xinput21)
        missing.append(QStringLiteral("XInput 2.1"));
    return missing.join(german ? QStringLiteral(" und ") : QStringLiteral(" and "));
}

PermissionCard::Texts ready(bool german) {
    return {pick(german, "Bereit: Tramix sieht, was du in dieser X11-Sitzung ziehst.",
                 "Ready: Tramix sees what you drag in this X11 session."),
            pick(german, "Unter Linux braucht es dafür keine Freigabe – es gibt nichts zu tun.",
                 "Linux needs no permission for this – there is nothing to do."),
            std::nullopt};
}

PermissionCard::Texts limited(bool compact, bool german) {
    return {pick(german,
                 "Tramix läuft über XWayland und sieht nur Dateien, die du aus X11-Programmen "
                 "ziehst.",
                 "Tramix runs through XWayland and only sees files you drag from X11 programs."),
            compact ? pick(german, "Für alle Programme: mit einer X11-Sitzung anmelden.",
                           "For every program: log in with an X11 session.")
                    : pick(german,
                           "Damit es Dateien aus allen Programmen sieht, melde dich ab und wähle "
                           "auf dem Anmeldebildschirm eine X11-Sitzung, etwa „GNOME on Xorg“ "
                           "oder „Plasma (X11)“.",
                           "To see files from every program, log out and choose an X11 session "
                           "on the login screen, such as “GNOME on Xorg” or “Plasma (X11)”."),
            std::nullopt};
}

PermissionCard::Texts missing(const DragSession& session, bool compact, bool german) {
    using Kind = DragSession::Kind;
    PermissionCard::Texts texts;
    const QString x11Session =
        pick(german,
             "Melde dich ab und wähle auf dem Anmeldebildschirm eine X11-Sitzung, etwa „GNOME on "
             "Xorg“ oder „Plasma (X11)“.",
             "Log out and choose an X11 session on the login screen, such as “GNOME on Xorg” or "
             "“Plasma (X11)”.");
    const QString commandLine =
        pick(german, " Bis dahin wandelt die Befehlszeile um: tramix --help.",
             " Until then the command line converts: tramix --help.");
    switch (session.kind) {
    case Kind::wayland:
        texts.state = pick(german,
                           "In dieser Wayland-Sitzung sieht Tramix nicht, wenn du Dateien "
                           "ziehst.",
                           "In this Wayland session Tramix cannot see the files you drag.");
        texts.advice = compact ? pick(german, "Das Rad braucht eine X11-Sitzung.",
                                      "The wheel needs an X11 session.")
                               : x11Session + commandLine;
        break;
    case Kind::x11:
    case Kind::xwayland:
        texts.state =
            (german ? QStringLiteral("Dem X-Server fehlt %1; ohne das sieht Tramix keine "
                                     "gezogenen Dateien.")
                    : QStringLiteral("The X server lacks %1; without it Tramix cannot see "
                                     "dragged files."))
                .arg(missingExtensions(session, german));
        texts.advice =
            compact ? pick(german, "Das Rad braucht XFixes und XInput 2.1.",
                           "The wheel needs XFixes and XInput 2.1.")
                    : pick(german,
                           "Jeder aktuelle Xorg-Server bringt beides mit. Fehlt es, kommt der "
                           "Bildschirm oft über einen Fernzugang (VNC, X-Weiterleitung): melde "
                           "dich dann direkt am Rechner an.",
                           "Every current Xorg server has both. Where they are missing, the "
                           "screen often comes through remote access (VNC, X forwarding): log "
                           "in at the computer itself.");
        break;
    case Kind::none:
        texts.state = pick(german, "Ohne grafische Sitzung sieht Tramix keine gezogenen Dateien.",
                           "Without a graphical session Tramix cannot see dragged files.");
        texts.advice = compact ? pick(german, "Das Rad braucht eine X11-Sitzung.",
                                      "The wheel needs an X11 session.")
                               : pick(german,
                                      "Starte Tramix in einer X11-Sitzung. Die Befehlszeile geht "
                                      "auch ohne: tramix --help.",
                                      "Start Tramix in an X11 session. The command line works "
                                      "without one: tramix --help.");
        break;
    }
    return texts;
}

} // namespace

PermissionCard::Level PermissionCard::level(const DragSession& session) {
    if (!session.supportsGlobalDrags())
        return Level::missing;
    return session.kind == DragSession::Kind::xwayland ? Level::limited : Level::ready;
}

PermissionCard::Texts PermissionCard::texts(const DragSession& session, bool compact, bool german) {
    Texts result;
    switch (level(session)) {
    case Level::ready:
        return ready(german);
    case Level::limited:
        result = limited(compact, german);
        break;
    case Level::missing:
        result = missing(session, compact, german);
        break;
    }
    // The compact card leads to the full explanation.
    if (compact)
        result.action = pick(german, "Mehr dazu", "Learn more");
    return result;
}

PermissionCard::PermissionCard(Permissions& permissions, bool compact, bool german, QWidget* parent)
    : QWidget(parent)
    , permissions_(permissions)
    , compact_(compact)
    , german_(german)
    , state_(new ThemedLabel({}, ThemedLabel::Role::title, this))
    , advice_(new ThemedLabel({}, ThemedLabel::Role::secondary, this))
    , button_(new ActionButton({}, ActionButton::Kind::secondary, this)) {
    state_->setWordWrap(true);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(padding + iconSize + iconGap, padding, padding, padding);
    layout->setSpacing(12);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(3);
    texts->addWidget(state_);
    texts->addWidget(advice_);
    layout->addLayout(texts, 1);
    layout->addWidget(button_, 0, Qt::AlignVCenter);
    connect(button_, &QPushButton::clicked, &permissions_, &Permissions::request);
    connect(&permissions_, &Permissions::changed, this, &PermissionCard::refresh);
    refresh();
}

void PermissionCard::refresh() {
    const Texts texts = PermissionCard::texts(permissions_.session(), compact_, german_);
    state_->setText(texts.state);
    advice_->setText(texts.advice);
    button_->setText(texts.action.value_or(QString()));
    button_->setVisible(texts.action.has_value());
    button_->setAccessibleDescription(texts.state);
    setAccessibleName(texts.state);
    updateGeometry();
    update();
}

void PermissionCard::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange)
        ThemedLabel::restyleAll(this, Theme::of(Theme::isDark(palette())));
    QWidget::changeEvent(event);
}

void PermissionCard::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Theme theme = Theme::of(Theme::isDark(palette()));
    const Level now = level(permissions_.session());
    const QColor colour = now == Level::ready ? theme.success : theme.warning;
    QColor tint = colour;
    tint.setAlpha(theme.dark ? 38 : 26);
    painter.setPen(Qt::NoPen);
    painter.setBrush(tint);
    painter.drawRoundedRect(QRectF(rect()), radius, radius);
    const QRectF icon(padding, padding + 1, iconSize, iconSize);
    if (now == Level::ready)
        StatusGlyphs::checkmarkCircle(painter, icon, colour, Qt::white);
    else
        StatusGlyphs::exclamationCircle(painter, icon, colour);
}

} // namespace tramix
