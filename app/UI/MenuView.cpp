#include "MenuView.h"

#include "Design/AppIcon.h"
#include "Design/StatusGlyphs.h"
#include "Design/SymbolIcons.h"
#include "Settings/AppSettings.h"
#include "Settings/History.h"
#include "Settings/UILanguage.h"

#include <QFontMetricsF>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>
#include <algorithm>
#include <cmath>

namespace tramix {

namespace {

constexpr qreal pad = 14;
constexpr qreal inner = MenuView::width - 2 * pad;
constexpr qreal headerHeight = 36;
constexpr qreal modeRowHeight = 44;
constexpr qreal figureHeight = 54;
constexpr qreal recentRowHeight = 26;
constexpr qreal dropHeight = 58;
constexpr qreal footerHeight = 30;
constexpr qreal sectionGap = 12;
constexpr qreal noticeIndent = 34; // the text beside the notice's mark
constexpr qreal noticeActionHeight = 20;

QFont nameFont() {
    return Theme::font(12, QFont::Bold);
}
QFont taglineFont() {
    return Theme::font(8.5);
}
QFont hintFont() {
    return Theme::font(9.5, QFont::Medium);
}
QFont detailFont() {
    return Theme::font(8.5);
}
QFont keyFont() {
    return Theme::font(8.5, QFont::DemiBold);
}

// The key caps of the mode rows share the width of the widest name, so the titles line up.
qreal keyCapWidth(const MenuContent& content) {
    constexpr qreal smallest = 28;
    constexpr qreal padding = 8;
    qreal widest = 0;
    for (const MenuContent::ModeRow& row : content.modes)
        widest = std::max(widest, QFontMetricsF(keyFont()).horizontalAdvance(row.keyName));
    return std::max(smallest, std::ceil(widest + 2 * padding));
}
QFont rowTitleFont() {
    return Theme::font(9.5, QFont::DemiBold);
}
QFont rowDetailFont() {
    return Theme::font(8.5);
}
QFont figureFont() {
    return Theme::font(14, QFont::Bold);
}
QFont headingFont() {
    QFont font = Theme::font(7.5, QFont::Bold);
    font.setLetterSpacing(QFont::AbsoluteSpacing, 0.8);
    return font;
}
QFont buttonFont() {
    return Theme::font(9, QFont::Medium);
}

qreal wrappedHeight(const QString& text, const QFont& font, qreal width = inner) {
    if (text.isEmpty())
        return 0;
    return QFontMetricsF(font)
        .boundingRect(QRectF(0, 0, width, 1000), Qt::TextWordWrap, text)
        .height();
}

// Every rectangle of the menu for one content.
struct Geometry {
    QRectF header, settingsButton, hint, hintDetail, modes, figuresLeft, figuresRight, notice,
        recentHeading, drop, footer, guide, quit;
    QList<QRectF> recentRows;
    qreal height = 0;

    explicit Geometry(const MenuContent& content) {
        qreal y = pad;
        header = QRectF(pad, y, inner, headerHeight);
        settingsButton = QRectF(pad + inner - 30, y + 3, 30, 30);
        y += headerHeight + sectionGap;

        hint = QRectF(pad, y, inner, wrappedHeight(content.hint, hintFont()));
        y += hint.height();
        if (!content.hintDetail.isEmpty()) {
            y += 4;
            hintDetail = QRectF(pad, y, inner, wrappedHeight(content.hintDetail, detailFont()));
            y += hintDetail.height();
        }
        y += sectionGap;

        modes = QRectF(pad, y, inner, modeRowHeight * content.modes.size());
        y += modes.height() + sectionGap - 4;

        const qreal half = (inner - 8) / 2;
        figuresLeft = QRectF(pad, y, half, figureHeight);
        figuresRight = QRectF(pad + half + 8, y, half, figureHeight);
        y += figureHeight + sectionGap;

        if (content.notice) {
            const qreal text =
                wrappedHeight(*content.notice, detailFont(), inner - noticeIndent - 10);
            notice =
                QRectF(pad, y, inner, text + 20 + (content.noticeAction ? noticeActionHeight : 0));
            y += notice.height() + sectionGap;
        }

        recentHeading = QRectF(pad, y, inner, 16);
        y += 18;
        const qsizetype rows = std::max<qsizetype>(content.recent.size(), 1);
        for (qsizetype i = 0; i < rows; ++i) {
            recentRows.append(QRectF(pad - 6, y, inner + 12, recentRowHeight));
            y += recentRowHeight;
        }
        y += sectionGap - 4;

        drop = QRectF(pad, y, inner, dropHeight);
        y += dropHeight + sectionGap;

        footer = QRectF(0, y, MenuView::width, footerHeight + 12);
        y += 6;
        const QFontMetricsF button(buttonFont());
        const qreal guideWidth = button.horizontalAdvance(content.guideLabel) + 12;
        const qreal quitWidth = button.horizontalAdvance(content.quitLabel) + 12;
        guide = QRectF(pad - 6, y, guideWidth, footerHeight);
        quit = QRectF(pad + inner + 6 - quitWidth, y, quitWidth, footerHeight);
        y += footerHeight + 6;
        height = y;
    }
};

void drawText(QPainter& painter, const QRectF& box, const QString& text, const QFont& font,
              const QColor& color, int flags) {
    painter.setFont(font);
    painter.setPen(color);
    const QFontMetricsF metrics(font);
    const QString shown =
        (flags & Qt::TextWordWrap) ? text : metrics.elidedText(text, Qt::ElideRight, box.width());
    painter.drawText(box, flags, shown);
}

void drawHeader(QPainter& painter, const Geometry& g, const MenuContent& content,
                const Theme& theme, bool settingsHovered) {
    const QRectF logo(g.header.left(), g.header.top() + 2, 32, 32);
    painter.drawPixmap(logo.toRect(),
                       appIcon().pixmap(QSize(32, 32), painter.device()->devicePixelRatioF()));
    const QRectF text(logo.right() + 10, g.header.top(), g.header.width() - 80, g.header.height());
    drawText(painter, text.adjusted(0, 0, 0, -text.height() / 2), content.productName, nameFont(),
             theme.text, Qt::AlignLeft | Qt::AlignBottom);
    drawText(painter, text.adjusted(0, text.height() / 2 + 1, 0, 0), content.tagline, taglineFont(),
             theme.secondaryText, Qt::AlignLeft | Qt::AlignTop);
    if (settingsHovered) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme.fill);
        painter.drawRoundedRect(g.settingsButton, 8, 8);
    }
    StatusGlyphs::gear(painter, g.settingsButton.adjusted(8, 8, -8, -8), theme.secondaryText);
}

void drawModes(QPainter& painter, const Geometry& g, const MenuContent& content,
               const Theme& theme) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme.fill);
    painter.drawRoundedRect(g.modes, 10, 10);
    const qreal capWidth = keyCapWidth(content);
    for (qsizetype i = 0; i < content.modes.size(); ++i) {
        const MenuContent::ModeRow& row = content.modes[i];
        const QRectF line(g.modes.left(), g.modes.top() + i * modeRowHeight, g.modes.width(),
                          modeRowHeight);
        const QRectF cap(line.left() + 9, line.center().y() - 13, capWidth, 26);
        if (i > 0) {
            painter.setPen(QPen(theme.cardEdge, 1));
            painter.drawLine(QPointF(cap.right() + 11, line.top() + 0.5),
                             QPointF(line.right() - 10, line.top() + 0.5));
        }
        painter.setPen(QPen(theme.cardEdge, 1));
        painter.setBrush(theme.card);
        painter.drawRoundedRect(cap, 6, 6);
        drawText(painter, cap, row.keyName, keyFont(), row.key ? theme.accent : theme.secondaryText,
                 Qt::AlignCenter);
        // Title above its examples, so long words in either language never meet.
        const QRectF text(cap.right() + 11, line.top() + 5, line.right() - 10 - cap.right() - 11,
                          line.height() - 10);
        drawText(painter, text.adjusted(0, 0, 0, -text.height() / 2), row.title, rowTitleFont(),
                 theme.text, Qt::AlignLeft | Qt::AlignBottom);
        drawText(painter, text.adjusted(0, text.height() / 2 + 1, 0, 0), row.examples,
                 rowDetailFont(), theme.secondaryText, Qt::AlignLeft | Qt::AlignTop);
    }
}

void drawFigure(QPainter& painter, const QRectF& box, const QString& figure, const QString& label,
                const Theme& theme, const QColor& figureColor) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme.fill);
    painter.drawRoundedRect(box, 10, 10);
    const QRectF inside = box.adjusted(12, 8, -12, -8);
    drawText(painter, inside.adjusted(0, 0, 0, -inside.height() * 0.45), figure, figureFont(),
             figureColor, Qt::AlignLeft | Qt::AlignVCenter);
    drawText(painter, inside.adjusted(0, inside.height() * 0.58, 0, 0), label, detailFont(),
             theme.secondaryText, Qt::AlignLeft | Qt::AlignVCenter);
}

void drawNotice(QPainter& painter, const Geometry& g, const MenuContent& content,
                const Theme& theme, bool hovered) {
    QColor tint = theme.warning;
    tint.setAlpha(theme.dark ? (hovered ? 56 : 40) : (hovered ? 40 : 28));
    painter.setPen(Qt::NoPen);
    painter.setBrush(tint);
    painter.drawRoundedRect(g.notice, 10, 10);
    StatusGlyphs::exclamationCircle(
        painter, QRectF(g.notice.left() + 10, g.notice.top() + 10, 16, 16), theme.warning);
    const QRectF text = g.notice.adjusted(noticeIndent, 10, -10, -10);
    drawText(painter, text.adjusted(0, 0, 0, content.noticeAction ? -noticeActionHeight : 0),
             *content.notice, detailFont(), theme.text,
             Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap);
    if (content.noticeAction)
        drawText(painter,
                 QRectF(text.left(), text.bottom() - noticeActionHeight + 4, text.width(),
                        noticeActionHeight - 4),
                 *content.noticeAction + QStringLiteral(" ›"), rowTitleFont(), theme.accent,
                 Qt::AlignLeft | Qt::AlignBottom);
}

void drawRecent(QPainter& painter, const Geometry& g, const MenuContent& content,
                const Theme& theme, std::optional<int> hoveredRow) {
    drawText(painter, g.recentHeading, content.recentHeading, headingFont(), theme.secondaryText,
             Qt::AlignLeft | Qt::AlignVCenter);
    if (content.recent.isEmpty()) {
        drawText(painter, g.recentRows.first().adjusted(6, 0, -6, 0), content.noRecentJobs,
                 rowDetailFont(), theme.secondaryText, Qt::AlignLeft | Qt::AlignVCenter);
        return;
    }
    for (qsizetype i = 0; i < content.recent.size(); ++i) {
        const QRectF row = g.recentRows[i];
        if (hoveredRow == i) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(theme.hover);
            painter.drawRoundedRect(row, 7, 7);
        }
        const QRectF icon(row.left() + 6, row.center().y() - 7, 14, 14);
        if (content.recent[i].failed)
            StatusGlyphs::exclamationCircle(painter, icon, theme.warning);
        else
            StatusGlyphs::checkmarkCircle(painter, icon, theme.success, Qt::white);
        drawText(painter, row.adjusted(28, 0, -6, 0), content.recent[i].title, rowDetailFont(),
                 theme.text, Qt::AlignLeft | Qt::AlignVCenter);
    }
}

void drawDropArea(QPainter& painter, const Geometry& g, const MenuContent& content,
                  const Theme& theme, bool hovered) {
    QPen dashed(hovered ? theme.accent : theme.secondaryText, 1.2, Qt::DashLine);
    dashed.setDashPattern({4, 3});
    painter.setPen(dashed);
    painter.setBrush(hovered ? theme.hover : Qt::transparent);
    painter.drawRoundedRect(g.drop.adjusted(0.6, 0.6, -0.6, -0.6), 10, 10);
    const QColor color = hovered ? theme.accent : theme.secondaryText;
    const qreal labelWidth = QFontMetricsF(rowTitleFont()).horizontalAdvance(content.dropLabel);
    const qreal total = 20 + 8 + labelWidth;
    const qreal left = g.drop.center().x() - total / 2;
    SymbolIcons::draw(painter, QStringLiteral("tray.and.arrow.down"),
                      QRectF(left, g.drop.center().y() - 10, 20, 20), color);
    drawText(painter, QRectF(left + 28, g.drop.top(), labelWidth + 2, g.drop.height()),
             content.dropLabel, rowTitleFont(), color, Qt::AlignLeft | Qt::AlignVCenter);
}

void drawFooter(QPainter& painter, const Geometry& g, const MenuContent& content,
                const Theme& theme, std::optional<MenuView::Target::Kind> hovered) {
    painter.setPen(QPen(theme.cardEdge, 1));
    painter.drawLine(QPointF(0, g.footer.top() + 0.5),
                     QPointF(MenuView::width, g.footer.top() + 0.5));
    for (const auto& [box, label, kind] :
         {std::tuple{g.guide, content.guideLabel, MenuView::Target::guide},
          std::tuple{g.quit, content.quitLabel, MenuView::Target::quit}}) {
        if (hovered == kind) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(theme.fill);
            painter.drawRoundedRect(box, 7, 7);
        }
        drawText(painter, box.adjusted(6, 0, -6, 0), label, buttonFont(), theme.text,
                 (kind == MenuView::Target::guide ? Qt::AlignLeft : Qt::AlignRight) |
                     Qt::AlignVCenter);
    }
}

} // namespace

MenuView::Layout MenuView::layout(const MenuContent& content) {
    const Geometry g(content);
    Layout result;
    result.height = g.height;
    result.targets.append({Target::settings, 0, g.settingsButton});
    if (content.notice && content.noticeAction)
        result.targets.append({Target::notice, 0, g.notice});
    for (qsizetype i = 0; i < content.recent.size(); ++i)
        result.targets.append({Target::recentJob, int(i), g.recentRows[i]});
    result.targets.append({Target::dropArea, 0, g.drop});
    result.targets.append({Target::guide, 0, g.guide});
    result.targets.append({Target::quit, 0, g.quit});
    return result;
}

void MenuView::paint(QPainter& painter, const MenuContent& content, const Theme& theme,
                     std::optional<int> hovered, bool roundedCard) {
    const Geometry g(content);
    const Layout targets = layout(content);
    const auto hoveredTarget = [&]() -> std::optional<Target> {
        if (hovered && *hovered >= 0 && *hovered < targets.targets.size())
            return targets.targets[*hovered];
        return std::nullopt;
    }();
    const auto isHovered = [&](Target::Kind kind) {
        return hoveredTarget && hoveredTarget->kind == kind;
    };

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRectF card = QRectF(0, 0, width, g.height).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(QPen(theme.cardEdge, 1));
    painter.setBrush(theme.card);
    if (roundedCard)
        painter.drawRoundedRect(card, 12, 12);
    else
        painter.drawRect(card);

    drawHeader(painter, g, content, theme, isHovered(Target::settings));
    drawText(painter, g.hint, content.hint, hintFont(), theme.text,
             Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap);
    if (!content.hintDetail.isEmpty())
        drawText(painter, g.hintDetail, content.hintDetail, detailFont(), theme.secondaryText,
                 Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap);
    drawModes(painter, g, content, theme);
    drawFigure(painter, g.figuresLeft, QLocale().toString(content.total), content.totalLabel, theme,
               theme.accent);
    drawFigure(painter, g.figuresRight, content.localFigure, content.localLabel, theme,
               theme.success);
    if (content.notice)
        drawNotice(painter, g, content, theme, isHovered(Target::notice));
    drawRecent(painter, g, content, theme,
               isHovered(Target::recentJob) ? std::optional(hoveredTarget->index) : std::nullopt);
    drawDropArea(painter, g, content, theme, isHovered(Target::dropArea));
    drawFooter(painter, g, content, theme,
               hoveredTarget ? std::optional(hoveredTarget->kind) : std::nullopt);
    painter.restore();
}

QImage MenuView::render(const MenuContent& content, bool dark, double scale) {
    const QSize size(width, int(std::ceil(layout(content).height)));
    QImage image(size * scale, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    paint(painter, content, Theme::of(dark), std::nullopt, true);
    painter.end();
    return image;
}

MenuView::MenuView(AppSettings& settings, History& history, QWidget* parent)
    : QWidget(parent)
    , settings_(settings)
    , history_(history) {
    setMouseTracking(true);
    setAttribute(Qt::WA_TranslucentBackground);
    for (auto signal : {&AppSettings::keysChanged, &AppSettings::activationChanged})
        connect(&settings_, signal, this, &MenuView::refresh);
    connect(&history_, &History::entriesChanged, this, &MenuView::refresh);
    connect(&history_, &History::totalChanged, this, &MenuView::refresh);
    refresh();
}

void MenuView::setNotice(const std::optional<QString>& notice,
                         const std::optional<QString>& action) {
    notice_ = notice;
    noticeAction_ = notice ? action : std::nullopt;
    refresh();
}

void MenuView::refresh() {
    const qreal before = layout_.height;
    content_ = MenuContent::make(settings_, history_, UILanguage::german());
    content_.notice = notice_;
    content_.noticeAction = noticeAction_;
    layout_ = layout(content_);
    hovered_.reset();
    if (layout_.height != before) {
        setFixedSize(sizeHint());
        Q_EMIT contentResized();
    }
    update();
}

QSize MenuView::sizeHint() const {
    return {width, int(std::ceil(layout_.height))};
}

std::optional<int> MenuView::targetAt(QPointF point) const {
    for (qsizetype i = 0; i < layout_.targets.size(); ++i)
        if (layout_.targets[i].rect.contains(point))
            return int(i);
    return std::nullopt;
}

void MenuView::activate(QPointF point) {
    const auto index = targetAt(point);
    if (!index)
        return;
    const Target target = layout_.targets[*index];
    std::function<void()> action;
    switch (target.kind) {
    case Target::settings:
        action = openSettings;
        break;
    case Target::notice:
        action = openNotice;
        break;
    case Target::recentJob:
        if (openRecent)
            action = [this, outputs = content_.recent[target.index].outputs] {
                openRecent(outputs);
            };
        break;
    case Target::dropArea:
        action = openShelf;
        break;
    case Target::guide:
        action = openWelcome;
        break;
    case Target::quit:
        action = quit;
        break;
    }
    if (action)
        action();
}

void MenuView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const Theme theme = Theme::of(Theme::isDark(palette()));
    // An opaque window is cut round by its mask; what lies under the corners' edge must match.
    if (!window()->testAttribute(Qt::WA_TranslucentBackground))
        painter.fillRect(rect(), theme.card);
    paint(painter, content_, theme, hovered_, true);
}

void MenuView::mouseMoveEvent(QMouseEvent* event) {
    const auto now = targetAt(event->position());
    if (now != hovered_) {
        hovered_ = now;
        const bool isDrop = now && layout_.targets[*now].kind == Target::dropArea;
        const bool isSettings = now && layout_.targets[*now].kind == Target::settings;
        if (isDrop)
            QToolTip::showText(event->globalPosition().toPoint(), content_.dropHelp, this);
        else if (isSettings)
            QToolTip::showText(event->globalPosition().toPoint(), content_.settingsLabel, this);
        else
            QToolTip::hideText();
        setCursor(now ? Qt::PointingHandCursor : Qt::ArrowCursor);
        update();
    }
}

void MenuView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        activate(event->position());
}

void MenuView::leaveEvent(QEvent*) {
    hovered_.reset();
    update();
}

} // namespace tramix
