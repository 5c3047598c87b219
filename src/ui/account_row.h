// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/github_account.h"
#include "ui/accounts_presentation.h"

#include <QImage>
#include <QWidget>

class QPushButton;

namespace velmora
{

class AvatarView;
class LinkButton;
class TextLabel;

/// One connected account: who it is, how its session stands and what to do about that, how many installations it has,
/// and a button that removes it.
class AccountRow final : public QWidget
{
    Q_OBJECT

public:
    explicit AccountRow(QWidget *parent = nullptr);

    void setSession(const GitHubAccountSession &session);
    /// What the user has to do about the account, beside its status; empty when there is nothing. It comes before what
    /// is known of the installations, which follows from it.
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
    TextLabel *m_dot; ///< between the status and what follows
    TextLabel *m_advice;
    TextLabel *m_installations;
    LinkButton *m_install;
    QPushButton *m_remove;
    bool m_offersInstalling = false;
};

} // namespace velmora
