// SPDX-License-Identifier: MIT
#include "ui/controls/busy_button.h"

#include "ui/controls/progress_spinner.h"
#include "ui/controls/symbols.h"

#include <QStyleOptionButton>

namespace velmora
{

namespace
{

/// The gap between icon and text in Qt's styles.
constexpr int kIconGap = 4;

QIcon emptyIcon(const QSize &size)
{
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    return QIcon(pixmap);
}

} // namespace

BusyButton::BusyButton(const QString &symbol, const QString &text, QWidget *parent)
    : QPushButton(symbolIcon(symbol), text, parent)
    , m_symbol(icon())
    , m_room(emptyIcon(iconSize()))
    , m_spinner(new ProgressSpinner(QString(), iconSize().height(), this))
{
    m_spinner->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_spinner->hide();
}

void BusyButton::setBusy(bool isBusy)
{
    if (m_isBusy == isBusy)
        return;
    m_isBusy = isBusy;
    setIcon(isBusy ? m_room : m_symbol);
    placeSpinner();
    m_spinner->setVisible(isBusy);
}

void BusyButton::resizeEvent(QResizeEvent *event)
{
    QPushButton::resizeEvent(event);
    placeSpinner();
}

void BusyButton::placeSpinner()
{
    QStyleOptionButton option;
    initStyleOption(&option);
    const QRect contents = style()->subElementRect(QStyle::SE_PushButtonContents, &option, this);
    const int text = fontMetrics().size(Qt::TextShowMnemonic, this->text()).width();
    const int width = iconSize().width() + kIconGap + text;
    const QRect row = QStyle::alignedRect(
        layoutDirection(), Qt::AlignCenter, QSize(std::min(width, contents.width()), iconSize().height()), contents);
    m_spinner->setGeometry(QStyle::alignedRect(layoutDirection(), Qt::AlignLeft | Qt::AlignVCenter, iconSize(), row));
}

} // namespace velmora
