#include "PreferenceGroup.h"

#include "Design/Theme.h"
#include "ThemedLabel.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

namespace tramix {

namespace {

constexpr qreal radius = 10;
constexpr int rowPadding = 14;
constexpr int rowSpacing = 10;
constexpr int minimumRowHeight = 48;

// The panel behind the rows, with a hairline above every visible row but the first.
class Panel : public QWidget {
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const Theme theme = Theme::of(Theme::isDark(palette()));
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme.fill);
        painter.drawRoundedRect(QRectF(rect()), radius, radius);
        bool first = true;
        painter.setPen(QPen(theme.cardEdge, 1));
        for (const QWidget* row : findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
            if (!row->isVisible())
                continue;
            if (!first) {
                const qreal y = row->geometry().top() + 0.5;
                painter.drawLine(QPointF(rowPadding, y), QPointF(width() - rowPadding, y));
            }
            first = false;
        }
    }
};

} // namespace

PreferenceGroup::PreferenceGroup(const QString& heading, QWidget* parent)
    : QWidget(parent)
    , panel_(new Panel(this))
    , rows_(new QVBoxLayout(panel_)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    auto* title = new ThemedLabel(heading, ThemedLabel::Role::heading, this);
    title->setContentsMargins(4, 0, 0, 0);
    layout->addWidget(title);
    layout->addWidget(panel_);
    rows_->setContentsMargins(0, 0, 0, 0);
    rows_->setSpacing(0);
}

PreferenceGroup::Row PreferenceGroup::addRow(const QString& title, const QString& detail,
                                             QWidget* control) {
    auto* row = new QWidget(panel_);
    row->setMinimumHeight(minimumRowHeight);
    auto* line = new QHBoxLayout(row);
    line->setContentsMargins(rowPadding, rowSpacing, rowPadding, rowSpacing);
    line->setSpacing(16);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    auto* name = new ThemedLabel(title, ThemedLabel::Role::title, row);
    texts->addWidget(name);
    ThemedLabel* explanation = nullptr;
    if (!detail.isEmpty()) {
        explanation = new ThemedLabel(detail, ThemedLabel::Role::secondary, row);
        texts->addWidget(explanation);
    }
    line->addLayout(texts, 1);
    line->addWidget(control, 0, Qt::AlignVCenter);
    control->setParent(row);
    if (control->accessibleName().isEmpty())
        control->setAccessibleName(title);
    if (!detail.isEmpty() && control->accessibleDescription().isEmpty())
        control->setAccessibleDescription(detail);
    rows_->addWidget(row);
    return {row, explanation};
}

void PreferenceGroup::setFooter(const QString& text) {
    auto* footer = new ThemedLabel(text, ThemedLabel::Role::secondary, this);
    footer->setContentsMargins(4, 2, 4, 0);
    layout()->addWidget(footer);
}

QWidget* PreferenceGroup::addRow(QWidget* content) {
    auto* row = new QWidget(panel_);
    auto* line = new QHBoxLayout(row);
    line->setContentsMargins(rowPadding, rowSpacing, rowPadding, rowSpacing);
    line->addWidget(content);
    rows_->addWidget(row);
    return row;
}

} // namespace tramix
