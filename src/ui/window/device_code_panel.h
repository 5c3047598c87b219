// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/authentication_store.h"
#include "platform/desktop_ports.h"

#include <QWidget>

class QBoxLayout;
class QLabel;
class QPushButton;

namespace velmora
{

class TextLabel;

/// The device code that the user enters on GitHub, with buttons that copy it, open the page for it, and cancel.
///
/// Follows the pending authorization of the store. Without one it keeps its last contents, so its owner hides it then.
class DeviceCodePanel final : public QWidget
{
    Q_OBJECT

public:
    enum class Arrangement {
        Column, ///< one below the other, centred
        Row, ///< the text beside the spinner, the buttons at the end
    };
    /// The store and the ports are not owned and outlive the panel; of the ports it uses pasteboard and opener.
    DeviceCodePanel(AuthenticationStore *authentication, const DesktopPorts &ports, Arrangement arrangement,
        QWidget *parent = nullptr);

protected:
    void changeEvent(QEvent *event) override;

private:
    [[nodiscard]] QBoxLayout *makeButtons();
    void arrangeInColumn();
    void arrangeInRow();
    void showAuthorization();
    void updateCodeFont();

    AuthenticationStore *m_authentication;
    DesktopPorts m_ports;
    Arrangement m_arrangement;
    TextLabel *m_title;
    QLabel *m_code;
    TextLabel *m_help;
    QPushButton *m_copy;
    QPushButton *m_open;
    QPushButton *m_cancel;
};

} // namespace velmora
