// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/github_account.h"
#include "presentation/accounts_presentation.h"

#include <QImage>
#include <QWidget>

class QPushButton;

namespace velmora
{

class AvatarView;
class LinkButton;
class TextLabel;

/// One connected account: its login, the status of its session, advice, the number of installations, and a button that
/// removes it.
class AccountRow final : public QWidget
{
    Q_OBJECT

public:
    explicit AccountRow(QWidget *parent = nullptr);

    void setSession(const GitHubAccountSession &session);
    /// What the user has to do about the account, shown beside the status; empty for nothing. Hides the text about
    /// installations, because their state follows from the problem.
    void setAdvice(const QString &advice);
    void setInstallations(const InstallationSummary &summary);
    void setPicture(const QImage &picture);

Q_SIGNALS:
    void removeRequested();
    void installRequested();

private:
    [[nodiscard]] QLayout *makeTexts();
    void showDetails();

    AvatarView *m_avatar;
    TextLabel *m_login;
    TextLabel *m_status;
    TextLabel *m_dot; ///< between the status and the text after it
    TextLabel *m_advice;
    TextLabel *m_installations;
    LinkButton *m_install;
    QPushButton *m_remove;
    bool m_offersInstalling = false;
};

} // namespace velmora
