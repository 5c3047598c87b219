// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"
#include "presentation/row_presentation.h"
#include "ui/accessibility/accessible_list.h"

#include <QObject>
#include <QSet>

class QMenu;

namespace velmora
{

class Environments;
class MutedRepositories;
class Pasteboard;
class URLOpener;

/// Opens and copies what belongs to a deployment, dismisses failures, mutes repositories and chooses about
/// environments, for clicks, keys, the context menu and assistive technology.
class DeploymentActions final : public QObject
{
    Q_OBJECT

public:
    /// The ports are not owned and outlive the object.
    DeploymentActions(URLOpener *urlOpener, Pasteboard *pasteboard, QObject *parent = nullptr);

    /// Offers to mute the repository of a deployment. `muted` is not owned and outlives the object.
    void offerMuting(MutedRepositories *muted) { m_muted = muted; }

    /// Offers to choose what becomes of the environment of a deployment, or of the line to which it belongs.
    /// `environments` is not owned and outlives the object.
    void offerChoices(Environments *environments) { m_environments = environments; }

    /// Does nothing if the deployment has no such address, or is no failure that could be dismissed.
    void perform(RowActionKind action, const DeploymentSnapshot &deployment);
    /// Adds an entry for each action. The entries keep the deployment, since its row may go while the menu is open.
    void addTo(QMenu *menu, const DeploymentSnapshot &deployment, const FailureMark &mark = {});
    /// The same actions; they run after the call that starts them has returned, which must not wait for a browser.
    [[nodiscard]] QList<AccessibleAction> accessible(
        const DeploymentSnapshot &deployment, const FailureMark &mark = {});

Q_SIGNALS:
    /// The user wants the failure with this id dismissed, or that taken back.
    void dismissalChosen(const QSet<QString> &ids, bool isDismissed);

private:
    [[nodiscard]] QList<RowAction> allActions(const DeploymentSnapshot &deployment, const FailureMark &mark) const;
    [[nodiscard]] QList<RowAction> choices(const DeploymentSnapshot &deployment) const;

    URLOpener *m_urlOpener;
    Pasteboard *m_pasteboard;
    MutedRepositories *m_muted = nullptr;
    Environments *m_environments = nullptr;
};

} // namespace velmora
