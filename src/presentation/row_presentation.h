// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"
#include "monitor/failure_marks.h"
#include "presentation/tone.h"

#include <QList>
#include <QString>

#include <optional>

namespace velmora
{

/// The icon of a state in the list.
struct StateIcon {
    QStringView symbol;
    Tone tone;
    QChar sign; ///< the icon in a terminal; its shape tells the states apart without colour

    friend bool operator==(const StateIcon &, const StateIcon &) = default;
};

[[nodiscard]] StateIcon stateIcon(DeploymentState state);
/// The state in words, for the terminal and for assistive technology.
[[nodiscard]] QString stateWords(DeploymentState state);
/// The state of the deployment in words, and for how long it has been under way if it is: "waiting for 3 minutes".
[[nodiscard]] QString stateAndElapsed(const DeploymentSnapshot &deployment, Instant now);

/// Foreign text for one line: without control characters and line breaks, and cut to a length that fits a screen.
[[nodiscard]] QString shownOnOneLine(const QString &text);

/// The row as one sentence: "acme/web, production, failed, main, 1a2b3c4, 2 minutes ago, mended now".
[[nodiscard]] QString rowSentence(const DeploymentSnapshot &deployment, Instant now, const FailureMark &mark = {});

/// All details of a deployment and the host that a click on its row opens. Rich text, in which foreign texts are
/// escaped.
[[nodiscard]] QString rowToolTip(const DeploymentSnapshot &deployment, Instant now, const FailureMark &mark = {});
/// "Open " and the environment. Rich text, in which the environment is escaped.
[[nodiscard]] QString linkToolTip(const DeploymentSnapshot &deployment);

/// What a click on the row opens: its log, or the deployments page of its repository. Nothing if neither has a web
/// address.
[[nodiscard]] std::optional<WebAddress> rowAddress(const DeploymentSnapshot &deployment);
/// What the link of the row opens. Nothing, and then no link is drawn, without a web address.
[[nodiscard]] std::optional<WebAddress> environmentAddress(const DeploymentSnapshot &deployment);

/// Which keys open what, in words; empty if no key does anything.
[[nodiscard]] QString rowKeys(const DeploymentSnapshot &deployment);

/// An action on a row.
enum class RowActionKind {
    OpenDetails,
    OpenEnvironment,
    CopyCommit,
    CopyDetailsLink,
    CopyEnvironmentLink,
    Dismiss,
    Restore,
    Mute,
    Unmute,
    NotifyEnvironment,
    ShowEnvironment,
    HideEnvironment,
};
struct RowAction {
    RowActionKind kind;
    QString text;

    friend bool operator==(const RowAction &, const RowAction &) = default;
};

/// The actions of the context menu of a row, in their order.
[[nodiscard]] QList<RowAction> rowActions(const DeploymentSnapshot &deployment);
/// The last of them: dismisses a failure, or takes that back. Nothing for what is no failure.
[[nodiscard]] std::optional<RowAction> dismissal(const DeploymentSnapshot &deployment, const FailureMark &mark);
/// The action on all failures, in the title of their section.
[[nodiscard]] QString dismissAllText();
/// What the key for a dismissal does, in words.
[[nodiscard]] QString dismissalKey();

} // namespace velmora
