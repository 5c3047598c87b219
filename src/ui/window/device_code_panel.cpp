// SPDX-License-Identifier: MIT
#include "ui/window/device_code_panel.h"

#include "platform/pasteboard.h"
#include "platform/url_opener.h"
#include "ui/controls/progress_spinner.h"
#include "ui/controls/text_label.h"

#include <QEvent>
#include <QFontDatabase>
#include <QPushButton>
#include <QVBoxLayout>

namespace velmora
{

namespace
{

constexpr qreal kCodeScale = 1.9;
constexpr int kLargeSpinner = 28;
constexpr int kSmallSpinner = 18;
constexpr int kMargin = 20;
constexpr int kGap = 8;

QString titleText()
{
    return QStringLiteral("Enter this code on GitHub");
}

QString helpText()
{
    return QStringLiteral("After authorization, GitHub will ask which account or organisation Velmora can access.");
}

QString copiedHelpText()
{
    return QStringLiteral("The code has been copied. After authorization, GitHub will ask which account or "
                          "organisation Velmora can access.");
}

} // namespace

DeviceCodePanel::DeviceCodePanel(
    AuthenticationStore *authentication, const DesktopPorts &ports, Arrangement arrangement, QWidget *parent)
    : QWidget(parent)
    , m_authentication(authentication)
    , m_ports(ports)
    , m_arrangement(arrangement)
    , m_title(new TextLabel(TextSize::Title, TextLabel::Overflow::Wrap, this))
    , m_code(new QLabel(this))
    , m_help(new TextLabel(
          arrangement == Arrangement::Column ? TextSize::Body : TextSize::Caption, TextLabel::Overflow::Wrap, this))
    , m_copy(new QPushButton(QStringLiteral("Copy code"), this))
    , m_open(new QPushButton(QStringLiteral("Open GitHub"), this))
    , m_cancel(new QPushButton(QStringLiteral("Cancel"), this))
{
    m_title->setText(titleText());
    m_title->setWeight(QFont::DemiBold);
    m_help->setTone(Tone::Secondary);
    m_code->setTextFormat(Qt::PlainText);
    m_code->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    updateCodeFont();
    if (arrangement == Arrangement::Column)
        arrangeInColumn();
    else
        arrangeInRow();

    connect(m_copy, &QPushButton::clicked, this, [this] {
        if (const auto &pending = m_authentication->pendingAuthorization())
            m_ports.pasteboard->setText(pending->userCode);
    });
    connect(m_open, &QPushButton::clicked, this, [this] {
        if (const auto &pending = m_authentication->pendingAuthorization())
            m_ports.urlOpener->open(pending->verificationURI);
    });
    connect(m_cancel, &QPushButton::clicked, authentication, &AuthenticationStore::cancelConnection);
    connect(authentication, &AuthenticationStore::connectionChanged, this, &DeviceCodePanel::showAuthorization);
    showAuthorization();
}

QBoxLayout *DeviceCodePanel::makeButtons()
{
    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(kGap);
    for (auto *button : {m_copy, m_open, m_cancel})
        buttons->addWidget(button);
    return buttons;
}

void DeviceCodePanel::arrangeInColumn()
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->setSpacing(kGap);
    m_title->setAlignment(Qt::AlignHCenter);
    m_help->setAlignment(Qt::AlignHCenter);
    layout->addWidget(new ProgressSpinner(titleText(), kLargeSpinner, this), 0, Qt::AlignHCenter);
    layout->addWidget(m_title);
    layout->addWidget(m_code, 0, Qt::AlignHCenter);
    layout->addWidget(m_help);
    layout->addSpacing(kGap);
    layout->addLayout(makeButtons());
}

void DeviceCodePanel::arrangeInRow()
{
    // This arrangement stands among many other controls, so each button has a mnemonic.
    m_copy->setText(QStringLiteral("&Copy code"));
    m_open->setText(QStringLiteral("&Open GitHub"));
    m_cancel->setText(QStringLiteral("Ca&ncel"));
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(kGap);
    layout->addWidget(new ProgressSpinner(titleText(), kSmallSpinner, this), 0, Qt::AlignTop);
    auto *texts = new QVBoxLayout;
    texts->setSpacing(2);
    for (QWidget *text :
        {static_cast<QWidget *>(m_title), static_cast<QWidget *>(m_code), static_cast<QWidget *>(m_help)})
        texts->addWidget(text);
    layout->addLayout(texts, 1);
    layout->addLayout(makeButtons());
}

void DeviceCodePanel::showAuthorization()
{
    const auto &pending = m_authentication->pendingAuthorization();
    if (!pending)
        return;
    m_code->setText(pending->userCode);
    // Without a clipboard the code was not copied, and the text must not claim it.
    const bool says = m_arrangement == Arrangement::Column && m_authentication->isCodeCopied();
    m_help->setText(says ? copiedHelpText() : helpText());
}

void DeviceCodePanel::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::ApplicationFontChange)
        updateCodeFont();
}

void DeviceCodePanel::updateCodeFont()
{
    QFont code = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    if (font().pointSizeF() > 0)
        code.setPointSizeF(font().pointSizeF() * kCodeScale);
    else
        code.setPixelSize(qRound(font().pixelSize() * kCodeScale));
    code.setWeight(QFont::DemiBold);
    code.setLetterSpacing(QFont::PercentageSpacing, 108);
    m_code->setFont(code);
}

} // namespace velmora
