// SPDX-License-Identifier: MIT
#include "presentation/deployment_search.h"

#include <QStringMatcher>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <vector>

namespace velmora
{

namespace
{

/// A word, and the texts that it was looked for in. Many deployments share a text, which is looked through once.
class SoughtWord
{
public:
    explicit SoughtWord(const QString &word)
        : m_word(word)
        , m_matcher(word, Qt::CaseInsensitive)
        , m_known(kKnownTexts)
    {
    }

    [[nodiscard]] bool fits(const DeploymentSnapshot &deployment)
    {
        return isIn(deployment.repositoryName) || isIn(deployment.environment)
            || deployment.commitOID.startsWith(m_word, Qt::CaseInsensitive)
            || (deployment.creatorLogin && isIn(*deployment.creatorLogin));
    }

private:
    static constexpr std::size_t kKnownTexts = 4096;

    struct Known {
        const QChar *text = nullptr;
        bool holdsWord = false;
    };

    [[nodiscard]] bool isIn(const QString &text)
    {
        const auto address = reinterpret_cast<std::uintptr_t>(text.constData());
        Known &known = m_known[(address >> 4 ^ address >> 16) % kKnownTexts];
        if (known.text != text.constData())
            known = {text.constData(), m_matcher.indexIn(text) >= 0};
        return known.holdsWord;
    }

    QString m_word;
    QStringMatcher m_matcher;
    std::vector<Known> m_known; ///< by the address of the text, which lives as long as the list
};

} // namespace

DeploymentSearch::DeploymentSearch(const QString &text)
    : m_text(text)
    , m_words(text.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts))
{
}

DeploymentList DeploymentSearch::found(const DeploymentList &deployments) const
{
    if (findsAll())
        return deployments;
    std::vector<SoughtWord> words(m_words.begin(), m_words.end());
    const auto isFound = [&words](const SharedDeployment &deployment) {
        return std::ranges::all_of(words, [&deployment](SoughtWord &word) { return word.fits(deployment); });
    };
    const auto firstLost = std::ranges::find_if_not(deployments, isFound);
    if (firstLost == deployments.end())
        return deployments;
    DeploymentList found(deployments.begin(), firstLost);
    std::copy_if(std::next(firstLost), deployments.end(), std::back_inserter(found), isFound);
    return found;
}

FailureMarks marksOf(const DeploymentList &deployments, const FailureMarks &marks)
{
    FailureMarks found;
    if (marks.isEmpty())
        return found;
    for (const auto &deployment : deployments) {
        if (!isFailure(deployment.state()))
            continue;
        const auto mark = marks.constFind(deployment->id);
        if (mark != marks.constEnd())
            found.insert(mark.key(), mark.value());
    }
    return found;
}

QString findDeploymentsText()
{
    return QStringLiteral("Find deployments");
}

QString foundText(qsizetype found, qsizetype all)
{
    return QStringLiteral("%1 of %2").arg(found).arg(all);
}

QString foundSentence(qsizetype found, qsizetype all)
{
    return QStringLiteral("%1 of %2 deployments found").arg(found).arg(all);
}

QString showAllDeploymentsText()
{
    return QStringLiteral("Show all");
}

} // namespace velmora
