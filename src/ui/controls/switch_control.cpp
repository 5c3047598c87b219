// SPDX-License-Identifier: MIT
#include "ui/controls/switch_control.h"

#include "ui/accessibility/accessible_part.h"
#include "ui/controls/switch_painting.h"
#include "ui/controls/text_label.h"

#include <QFontMetrics>
#include <QHelpEvent>
#include <QPainter>
#include <QStyleOption>
#include <QToolTip>

namespace velmora
{

namespace
{

constexpr int kGap = 12; ///< between the label and the switch
constexpr int kPadding = 4; ///< above and below
constexpr int kLineGap = 1;
/// The longest label in average characters; a longer one is elided, because names from outside may have any length.
constexpr int kMostColumns = 60;

/// Like QCheckBox for assistive technology, but "Toggle" acts as a click. Qt's own only changes the state.
class AccessibleSwitch final : public QAccessibleWidget
{
public:
    explicit AccessibleSwitch(SwitchControl *control)
        : QAccessibleWidget(control, QAccessible::CheckBox)
        , m_control(control)
    {
    }

    [[nodiscard]] QString text(QAccessible::Text kind) const override
    {
        const QString text = QAccessibleWidget::text(kind);
        if (kind == QAccessible::Accelerator)
            return m_control->shortcut().toString(QKeySequence::NativeText);
        return kind == QAccessible::Name && text.isEmpty() ? m_control->name() : text;
    }

    [[nodiscard]] QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.checkable = true;
        state.checked = m_control->isChecked();
        state.pressed = m_control->isDown();
        return state;
    }

    [[nodiscard]] QStringList actionNames() const override
    {
        QStringList names = QAccessibleWidget::actionNames();
        if (m_control->isEnabled())
            names.prepend(toggleAction());
        return names;
    }

    void doAction(const QString &name) override
    {
        if (name != toggleAction())
            return QAccessibleWidget::doAction(name);
        // Queued, because assistive technology waits for the return, but must not wait for the effects.
        QMetaObject::invokeMethod(m_control, &SwitchControl::click, Qt::QueuedConnection);
    }

    [[nodiscard]] QStringList keyBindingsForAction(const QString &name) const override
    {
        if (name != toggleAction() || m_control->shortcut().isEmpty())
            return QAccessibleWidget::keyBindingsForAction(name);
        return {m_control->shortcut().toString()};
    }

private:
    SwitchControl *m_control;
};

} // namespace

SwitchControl::SwitchControl(const QString &text, QWidget *parent)
    : QCheckBox(text, parent)
{
    installAccessible<SwitchControl, AccessibleSwitch>();
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAttribute(Qt::WA_Hover);
}

void SwitchControl::setName(const QString &name, const QString &detail, Emphasis emphasis)
{
    const QString literal = QString(name).replace(QLatin1Char('&'), QLatin1String("&&"));
    if (text() == literal && m_detail == detail && m_emphasis == emphasis)
        return;
    m_detail = detail;
    m_emphasis = emphasis;
    setAccessibleDescription(detail);
    setText(literal);
    updateGeometry();
    update();
}

QString SwitchControl::name() const
{
    // A double ampersand stands for one; a single one marks the mnemonic.
    QString name;
    for (qsizetype i = 0; i < text().size(); ++i) {
        if (text().at(i) == QLatin1Char('&') && ++i == text().size())
            break;
        name.append(text().at(i));
    }
    return name;
}

QFont SwitchControl::labelFont() const
{
    return styledFont(font(), TextSize::Body, m_emphasis == Emphasis::Strong ? QFont::Medium : QFont::Normal);
}

QFont SwitchControl::detailFont() const
{
    return styledFont(font(), TextSize::Caption);
}

int SwitchControl::textWidth() const
{
    const int label = QFontMetrics(labelFont()).size(Qt::TextSingleLine | Qt::TextShowMnemonic, text()).width();
    return std::max(label, QFontMetrics(detailFont()).horizontalAdvance(m_detail)) + 1;
}

int SwitchControl::textHeight() const
{
    const int label = QFontMetrics(labelFont()).height();
    return m_detail.isEmpty() ? label : label + kLineGap + QFontMetrics(detailFont()).height();
}

QSize SwitchControl::sizeHint() const
{
    const QSize knob = switchSize(fontMetrics());
    const int width = std::min(textWidth(), fontMetrics().averageCharWidth() * kMostColumns);
    return {width + kGap + knob.width(), std::max(textHeight(), knob.height()) + 2 * kPadding};
}

QSize SwitchControl::minimumSizeHint() const
{
    return sizeHint();
}

QRect SwitchControl::switchFrame() const
{
    return QStyle::alignedRect(
        layoutDirection(), Qt::AlignRight | Qt::AlignVCenter, switchSize(fontMetrics()), contentsRect());
}

QRect SwitchControl::textFrame() const
{
    const QSize room(contentsRect().width() - kGap - switchFrame().width(), textHeight());
    return QStyle::alignedRect(layoutDirection(), Qt::AlignLeft | Qt::AlignVCenter, room, contentsRect());
}

void SwitchControl::paintLabel(QPainter *painter, const QRect &frame)
{
    QStyleOption option;
    option.initFrom(this);
    const bool showsMnemonic = style()->styleHint(QStyle::SH_UnderlineShortcut, &option, this) != 0;
    const Qt::Alignment start = QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft | Qt::AlignTop);
    const QPalette::ColorGroup group = isEnabled() ? QPalette::Active : QPalette::Disabled;

    painter->setFont(labelFont());
    painter->setPen(palette().color(group, QPalette::WindowText));
    const int flags = static_cast<int>(start) | Qt::TextSingleLine
        | (showsMnemonic ? static_cast<int>(Qt::TextShowMnemonic) : static_cast<int>(Qt::TextHideMnemonic));
    painter->drawText(
        frame, flags, painter->fontMetrics().elidedText(text(), Qt::ElideRight, frame.width(), Qt::TextShowMnemonic));
    if (m_detail.isEmpty())
        return;
    const int top = painter->fontMetrics().height() + kLineGap;
    painter->setFont(detailFont());
    if (isEnabled())
        painter->setPen(toneColour(Tone::Secondary, palette()));
    painter->drawText(frame.adjusted(0, top, 0, 0), static_cast<int>(start) | Qt::TextSingleLine,
        painter->fontMetrics().elidedText(m_detail, Qt::ElideRight, frame.width()));
}

void SwitchControl::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    paintLabel(&painter, textFrame());
    SwitchLook look;
    look.isOn = isChecked();
    look.isEnabled = isEnabled();
    look.isPressed = isDown();
    look.isHovered = underMouse();
    look.hasFocus = hasFocus();
    look.direction = layoutDirection();
    paintSwitch(&painter, switchFrame(), look, palette());
}

bool SwitchControl::event(QEvent *event)
{
    if (event->type() != QEvent::ToolTip || textWidth() <= textFrame().width())
        return QCheckBox::event(event);
    const QString whole = name();
    // Converted to rich text, so that markup in the name is not interpreted.
    QToolTip::showText(
        static_cast<QHelpEvent *>(event)->globalPos(), Qt::convertFromPlainText(whole, Qt::WhiteSpaceNormal), this);
    return true;
}

} // namespace velmora
