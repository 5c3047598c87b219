// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"
#include "ui/tones.h"

#include <QList>
#include <QString>

#include <optional>

namespace velmora
{

/// How a state looks in the list.
struct StateIcon {
    QStringView symbol;
    Tone tone;

    friend bool operator==(const StateIcon &, const StateIcon &) = default;
};

[[nodiscard]] StateIcon stateIcon(DeploymentState state);
/// The state in words, for whoever hears the row read.
[[nodiscard]] QString stateWords(DeploymentState state);

/// Text from the network as it is shown on one line: nothing in it that controls, no line breaks, of a length that a
/// screen can show.
[[nodiscard]] QString shownOnOneLine(const QString &text);

/// The row as one sentence: "acme/web, production, failed, main, 1a2b3c4, 2 minutes ago".
[[nodiscard]] QString rowSentence(const DeploymentSnapshot &deployment, Instant now);

/// Everything that is known of a deployment, and the host to which a click on its row leads, as rich text in which its
/// texts appear literally.
[[nodiscard]] QString rowToolTip(const DeploymentSnapshot &deployment, Instant now);
/// "Open " and the environment, as rich text in which it appears literally.
[[nodiscard]] QString linkToolTip(const DeploymentSnapshot &deployment);

/// What a click on the row opens: its log, else the deployments of its repository. Nothing when neither is a web
/// address.
[[nodiscard]] std::optional<WebAddress> rowAddress(const DeploymentSnapshot &deployment);
/// What the link of the row opens. Nothing, and no link, when there is no web address of the environment.
[[nodiscard]] std::optional<WebAddress> environmentAddress(const DeploymentSnapshot &deployment);

/// What the keys do with the row, in words; empty when they do nothing.
[[nodiscard]] QString rowKeys(const DeploymentSnapshot &deployment);

/// Something that can be done with a row.
enum class RowActionKind {
    OpenDetails,
    OpenEnvironment,
    CopyCommit,
    CopyDetailsLink,
    CopyEnvironmentLink,
};
struct RowAction {
    RowActionKind kind;
    QString text;

    friend bool operator==(const RowAction &, const RowAction &) = default;
};

/// What the context menu of a row offers, in its order.
[[nodiscard]] QList<RowAction> rowActions(const DeploymentSnapshot &deployment);

} // namespace velmora
