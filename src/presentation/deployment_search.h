// SPDX-License-Identifier: MIT
#pragma once

#include "model/shared_deployment.h"
#include "monitor/failure_marks.h"

#include <QString>
#include <QStringList>

namespace velmora
{

/// Finds deployments by the words of a text: each word is part of the repository, the environment or the creator, or
/// begins the commit. Letters match in any case. A text without words finds all.
class DeploymentSearch
{
public:
    explicit DeploymentSearch(const QString &text = {});

    [[nodiscard]] const QString &text() const { return m_text; }
    /// Whether there is no word.
    [[nodiscard]] bool findsAll() const { return m_words.isEmpty(); }
    /// The deployments that are found, in their order; the same list if all are.
    [[nodiscard]] DeploymentList found(const DeploymentList &deployments) const;
    /// Whether all that this search finds is found by `other`, too, since its text only goes on.
    [[nodiscard]] bool narrows(const DeploymentSearch &other) const { return m_text.startsWith(other.m_text); }

private:
    QString m_text;
    QStringList m_words;
};

/// The marks of those failures that are in the list.
[[nodiscard]] FailureMarks marksOf(const DeploymentList &deployments, const FailureMarks &marks);

/// The name of the search field of the window.
[[nodiscard]] QString findDeploymentsText();
/// How many of all deployments are found, "3 of 20".
[[nodiscard]] QString foundText(qsizetype found, qsizetype all);
/// The same for assistive technology.
[[nodiscard]] QString foundSentence(qsizetype found, qsizetype all);
/// Ends the search.
[[nodiscard]] QString showAllDeploymentsText();

} // namespace velmora
